// quillary-generate DIR NAME [CHAPTERS TOPICS LANGUAGES]: writes a synthetic project.
#include "generator.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList a = app.arguments();
    if (a.size() < 3) {
        std::fprintf(stderr, "Usage: quillary-generate DIR NAME [CHAPTERS TOPICS LANGUAGES]\n");
        return 1;
    }
    GeneratorOptions o;
    if (a.size() > 3)
        o.chapters = a[3].toInt();
    if (a.size() > 4)
        o.topicsPerChapter = a[4].toInt();
    if (a.size() > 5)
        o.languages = a[5].toInt();
    QString file = generateProject(a[1], a[2], o);
    std::printf("%s\n", file.toUtf8().constData());
    return 0;
}
