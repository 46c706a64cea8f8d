#pragma once
// The command line program: verbs register themselves from their own files.
#include "commands.h"
#include "msgbox.h"
#include "progress.h"
#include "session.h"
#include "surface.h"

#include <QFileInfo>
#include <QString>
#include <QStringList>

#include <functional>

#include <cstdio>
#include <unistd.h>

struct CliContext {
    QStringList args; // the arguments after the verb, options included
    ConsoleMsgBox& box;
    bool yes = false;

    // Value of "--name VALUE" (last one wins); empty when absent.
    QString option(const QString& name) const;
    // All values of a repeated option.
    QStringList options(const QString& name) const;
    bool flag(const QString& name) const;
    // Arguments that are neither options nor option values.
    QStringList positional(const QStringList& valueOptions) const;
};

// Prints to stdout / stderr as UTF-8 lines.
void out(const QString& line);
void err(const QString& line);

using VerbFunction = std::function<int(CliContext&)>;

class cProject;

// Loads a project for reading only (the project mark is not set) and takes
// its main language as the current language; false after a message.
bool loadForReading(CliContext& c, cProject& p, const QString& path);
// The stored XML of a topic, from whichever chapter file holds it; "" when
// none does.
QString findTopicXml(CliContext& c, const cProject& p, const QString& id);

// A project opened for writing as the window opens it (marked while open).
class OpenProject {
public:
    OpenProject(CliContext& c, const QString& path) : session(c.box, surface)
    {
        session.startUp(QString());
        session.openProject(QFileInfo(path).absoluteFilePath());
    }
    ~OpenProject() { session.closeProject(); }
    bool isOpen() const { return session.isOpen(); }
    bool enabled(const char* command) const
    {
        return session.enabled(*commandByName(QString::fromLatin1(command)));
    }

    FakeSurface surface;
    Session session;
};

struct VerbRegistrar {
    VerbRegistrar(const char* verb, const char* usage, VerbFunction fn);
};

// A progress line on standard error, only when it is a terminal.
class CliProgress : public Progress {
public:
    CliProgress() : m_tty(::isatty(2) == 1) {}
    ~CliProgress() override
    {
        if (m_shown)
            std::fputc('\n', stderr);
    }
    void message(const QString& text) override
    {
        m_text = text;
        changed();
    }

protected:
    void changed() override
    {
        if (!m_tty)
            return;
        const QByteArray line = (m_text.isEmpty() ? QString() : m_text + QLatin1Char(' ')).toUtf8();
        std::fprintf(stderr, "\r%s%d/%d\033[K", line.constData(), value(), maximum());
        std::fflush(stderr);
        m_shown = true;
    }

private:
    bool m_tty;
    bool m_shown = false;
    QString m_text;
};
