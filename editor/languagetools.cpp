#include "languagetools.h"

#include "fileio.h"
#include "msgbox.h"
#include "newproject.h"
#include "paths.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <hunspell/hunspell.hxx>
#include <mythes.hxx>

#include <iconv.h>

#include <algorithm>
#include <set>

namespace langtools {

const char* const kStopWord = "STOP_SPELL_CHECKING_IMMEDIATELY";

namespace {

// Debian's dictionary and thesaurus packages; a code takes the first of
// PREFIX-ll-cc, PREFIX-ll that is listed.
const char* const kDictionaryPackages[] = {
    "hunspell-af", "hunspell-an", "hunspell-ar", "hunspell-be", "hunspell-bg", "hunspell-bn", "hunspell-bo",
    "hunspell-br", "hunspell-bs", "hunspell-ca", "hunspell-cs", "hunspell-da", "hunspell-de-at", "hunspell-de-ch",
    "hunspell-de-de", "hunspell-dz", "hunspell-el", "hunspell-en-au", "hunspell-en-ca", "hunspell-en-gb",
    "hunspell-en-us", "hunspell-en-za", "hunspell-es", "hunspell-eu", "hunspell-fr", "hunspell-gd", "hunspell-gl",
    "hunspell-gu", "hunspell-he", "hunspell-hi", "hunspell-hr", "hunspell-hu", "hunspell-id", "hunspell-is",
    "hunspell-it", "hunspell-kk", "hunspell-ko", "hunspell-lo", "hunspell-lt", "hunspell-lv", "hunspell-ml",
    "hunspell-mn", "hunspell-ne", "hunspell-nl", "hunspell-no", "hunspell-oc", "hunspell-pl", "hunspell-pt-br",
    "hunspell-pt-pt", "hunspell-ro", "hunspell-ru", "hunspell-si", "hunspell-sk", "hunspell-sl", "hunspell-sr",
    "hunspell-sv-se", "hunspell-sv", "hunspell-sw", "hunspell-te", "hunspell-th", "hunspell-tr", "hunspell-uk",
    "hunspell-uz", "hunspell-vi", "myspell-eo", "myspell-et", "myspell-fa", "myspell-fo", "myspell-ga",
    "myspell-hy", "myspell-sq", "myspell-tl"};
const char* const kThesaurusPackages[] = {
    "mythes-ar", "mythes-bg", "mythes-ca", "mythes-cs", "mythes-da", "mythes-de-ch", "mythes-de", "mythes-en-au",
    "mythes-en-us", "mythes-es", "mythes-fr", "mythes-gl", "mythes-hu", "mythes-id", "mythes-is", "mythes-it",
    "mythes-lv", "mythes-ne", "mythes-no", "mythes-pl", "mythes-pt-br", "mythes-pt-pt", "mythes-ro", "mythes-ru",
    "mythes-sk", "mythes-sl", "mythes-sv", "mythes-uk"};

// Norwegian's two written forms share one package.
QString packageLanguage(const QString& lang)
{
    return lang == QLatin1String("nb") || lang == QLatin1String("nn") ? QStringLiteral("no") : lang;
}

template <size_t N>
bool listed(const char* const (&list)[N], const QString& name)
{
    return std::any_of(std::begin(list), std::end(list), [&](const char* p) { return name == QLatin1String(p); });
}

const char* toolEnding(Tool tool)
{
    switch (tool) {
    case Tool::Spelling: return " dictionary! Spell checking is not available!";
    case Tool::Synonyms: return " dictionary! Synonyms are not available!";
    case Tool::Antonyms: return " dictionary! Antonyms are not available!";
    }
    return "";
}

// Text between Qt and a dictionary's own encoding.
class Codec {
public:
    explicit Codec(const QString& encoding)
    {
        const QString e = encoding.trimmed().toUpper();
        m_utf8 = e.isEmpty() || e == QLatin1String("UTF-8") || e == QLatin1String("UTF8");
        if (!m_utf8)
            m_name = e.toLatin1();
    }
    std::string encode(const QString& s) const
    {
        if (m_utf8)
            return s.toStdString();
        const QByteArray in = s.toUtf8();
        return convert(in.constData(), size_t(in.size()), "UTF-8", m_name.constData());
    }
    QString decode(const std::string& s) const
    {
        if (m_utf8)
            return QString::fromStdString(s);
        return QString::fromStdString(convert(s.data(), s.size(), m_name.constData(), "UTF-8"));
    }

private:
    static std::string convert(const char* data, size_t size, const char* from, const char* to)
    {
        iconv_t cd = iconv_open(to, from);
        if (cd == reinterpret_cast<iconv_t>(-1))
            return std::string(data, size);
        std::string out(size * 4 + 4, '\0');
        char* in = const_cast<char*>(data);
        size_t inLeft = size;
        char* o = out.data();
        size_t outLeft = out.size();
        while (inLeft > 0) {
            if (iconv(cd, &in, &inLeft, &o, &outLeft) == size_t(-1)) {
                if (errno == E2BIG)
                    break;
                // A letter the dictionary cannot hold: skipped, the word is then wrong.
                ++in;
                --inLeft;
            }
        }
        iconv_close(cd);
        out.resize(out.size() - outLeft);
        return out;
    }
    bool m_utf8 = true;
    QByteArray m_name;
};

bool isWordLetter(QChar c)
{
    return c.isLetterOrNumber() || c.isMark();
}

// Splits "(word)," into "(", "word", "),": what is around the first and
// after the last letter or digit.
void splitPunctuation(const QString& piece, QString& before, QString& core, QString& after)
{
    qsizetype a = 0, b = piece.size();
    while (a < b && !isWordLetter(piece[a]))
        ++a;
    while (b > a && !isWordLetter(piece[b - 1]))
        --b;
    before = piece.left(a);
    core = piece.mid(a, b - a);
    after = piece.mid(b);
}

bool hasLetter(const QString& s)
{
    return std::any_of(s.begin(), s.end(), [](QChar c) { return c.isLetter(); });
}

// "ample (similar term)" -> "ample"; the thesaurus' remarks in brackets
// at the end are no part of the word that goes into the text.
QString plainEntry(QString s)
{
    static const QRegularExpression remark(QStringLiteral("\\s*\\([^()]*\\)\\s*$"));
    QString prev;
    while (prev != s) {
        prev = s;
        s.remove(remark);
    }
    return s.trimmed();
}

bool isAntonym(const QString& entry)
{
    return entry.contains(QLatin1String("(antonym)"), Qt::CaseInsensitive);
}

void appendOnce(QStringList& list, const QString& s)
{
    if (!s.isEmpty() && !list.contains(s))
        list << s;
}

} // namespace

// --- folders, packages, messages -------------------------------------------------

Folders defaultFolders()
{
    const QString data = paths::dataFolder();
    Folders f;
    f.hunspell = {data + QStringLiteral("/dictionaries"), QStringLiteral("/usr/share/hunspell")};
    f.thesaurus = {data + QStringLiteral("/dictionaries"), QStringLiteral("/usr/share/mythes")};
    f.personal = data + QStringLiteral("/words.txt");
    f.webDictionaries = data + QStringLiteral("/qtwebengine_dictionaries");
    return f;
}

QString packageFor(Tool tool, const QString& code)
{
    const QStringList parts = code.toLower().split(QRegularExpression(QStringLiteral("[_-]")));
    const QString lang = packageLanguage(parts.value(0));
    const QString region = parts.value(1);
    if (tool == Tool::Spelling) {
        for (const char* prefix : {"hunspell-", "myspell-"}) {
            const QString exact = QLatin1String(prefix) + lang + QLatin1Char('-') + region;
            if (!region.isEmpty() && listed(kDictionaryPackages, exact))
                return exact;
            if (listed(kDictionaryPackages, QLatin1String(prefix) + lang))
                return QLatin1String(prefix) + lang;
        }
        return QStringLiteral("hunspell-") + lang;
    }
    const QString exact = QStringLiteral("mythes-") + lang + QLatin1Char('-') + region;
    if (!region.isEmpty() && listed(kThesaurusPackages, exact))
        return exact;
    return QStringLiteral("mythes-") + lang;
}

QString missingMessage(Tool tool, const QString& languageName, const QStringList& codes)
{
    QString text = QStringLiteral("You don't have installed ") + languageName + QLatin1String(toolEnding(tool));
    if (!codes.isEmpty())
        text += QStringLiteral("\nInstall the Debian package ") + packageFor(tool, codes.first()) +
                QStringLiteral(" and try again.");
    return text;
}

QStringList loadPersonalWords(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QStringList words;
    for (const QByteArray& line : f.readAll().split('\n')) {
        const QString w = QString::fromUtf8(line).trimmed();
        if (!w.isEmpty())
            words << w;
    }
    return words;
}

bool addPersonalWord(const QString& path, const QString& word, QString* error)
{
    const QString w = word.trimmed();
    if (w.isEmpty() || w.contains(QLatin1Char(' ')))
        return false;
    QStringList words = loadPersonalWords(path);
    if (words.contains(w))
        return true;
    words << w;
    QDir().mkpath(QFileInfo(path).absolutePath());
    return fileio::atomicReplace(path, (words.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8(), {}, error);
}

// --- the engines ------------------------------------------------------------------

struct cLanguageTools::Engines {
    std::unique_ptr<Hunspell> spell;
    Codec spellCodec{QString()};
    std::unique_ptr<MyThes> thes;
    Codec thesCodec{QString()};
};

cLanguageTools::cLanguageTools(Folders folders) : m_folders(std::move(folders)), m_engines(new Engines) {}

cLanguageTools::~cLanguageTools() = default;

QString cLanguageTools::dictionaryBase(const QString& code) const
{
    for (const QString& dir : m_folders.hunspell) {
        const QString base = dir + QLatin1Char('/') + code;
        if (QFileInfo::exists(base + QStringLiteral(".aff")) && QFileInfo::exists(base + QStringLiteral(".dic")))
            return base;
    }
    return {};
}

QString cLanguageTools::dicPath(const QString& code, const char* ext) const
{
    const QString base = dictionaryBase(code);
    return base.isEmpty() ? QString() : base + QLatin1String(ext);
}

QString cLanguageTools::thesaurusPath(const QString& code, const char* ext) const
{
    for (const QString& dir : m_folders.thesaurus)
        for (const QString& name : {QStringLiteral("th_") + code + QStringLiteral("_v2"), QStringLiteral("th_") + code}) {
            const QString base = dir + QLatin1Char('/') + name;
            if (QFileInfo::exists(base + QStringLiteral(".idx")) && QFileInfo::exists(base + QStringLiteral(".dat")))
                return base + QLatin1String(ext);
        }
    return {};
}

bool cLanguageTools::hasDictionary(const QString& code) const
{
    return !code.isEmpty() && !dicPath(code, ".dic").isEmpty();
}

bool cLanguageTools::hasThesaurus(const QString& code) const
{
    return !code.isEmpty() && !thesaurusPath(code, ".dat").isEmpty();
}

QString cLanguageTools::firstInstalled(Tool tool, const QStringList& codes) const
{
    for (const QString& raw : codes) {
        const QString c = raw.trimmed();
        if (tool == Tool::Spelling ? hasDictionary(c) : hasThesaurus(c))
            return c;
    }
    return {};
}

bool cLanguageTools::openSpelling(const QString& code)
{
    const QString aff = dicPath(code, ".aff");
    if (aff.isEmpty())
        return false;
    auto h = std::make_unique<Hunspell>(QFile::encodeName(aff).constData(),
                                        QFile::encodeName(dicPath(code, ".dic")).constData());
    m_engines->spellCodec = Codec(QString::fromStdString(h->get_dict_encoding()));
    for (const QString& w : loadPersonalWords(m_folders.personal))
        h->add(m_engines->spellCodec.encode(w));
    m_engines->spell = std::move(h);
    return true;
}

bool cLanguageTools::openThesaurus(const QString& code)
{
    const QString idx = thesaurusPath(code, ".idx");
    if (idx.isEmpty())
        return false;
    auto t = std::make_unique<MyThes>(QFile::encodeName(idx).constData(),
                                      QFile::encodeName(thesaurusPath(code, ".dat")).constData());
    const char* enc = t->get_th_encoding();
    m_engines->thesCodec = Codec(enc ? QString::fromLatin1(enc) : QString());
    m_engines->thes = std::move(t);
    // Stems help to find a form the thesaurus does not list.
    if (!m_engines->spell || m_code != code)
        openSpelling(code);
    return true;
}

bool cLanguageTools::openCode(Tool tool, const QString& code)
{
    const bool ok = tool == Tool::Spelling ? openSpelling(code) : openThesaurus(code);
    if (ok)
        m_code = code;
    return ok;
}

bool languageCodes(const QString& abbrev, MsgBox& box, const QString& langsPath, QString& name, QStringList& codes)
{
    std::vector<LanguageEntry> langs;
    if (!loadLanguageList(langs, box, langsPath))
        return false;
    name = abbrev;
    codes = QStringList{abbrev};
    for (const LanguageEntry& e : langs)
        if (e.abbrev == abbrev) {
            name = e.name;
            codes = e.wordcode.split(QLatin1Char(';'), Qt::SkipEmptyParts);
            break;
        }
    return true;
}

bool cLanguageTools::open(Tool tool, const QString& abbrev, MsgBox& box, const QString& langsPath)
{
    QString name;
    QStringList codes;
    if (!languageCodes(abbrev, box, langsPath, name, codes))
        return false;
    const QString code = firstInstalled(tool, codes);
    if (code.isEmpty() || !openCode(tool, code)) {
        box.exclamation(missingMessage(tool, name, codes));
        return false;
    }
    return true;
}

bool cLanguageTools::check(const QString& word)
{
    if (!m_engines->spell)
        return true;
    const Codec& c = m_engines->spellCodec;
    const QString w = word.trimmed();
    if (w.isEmpty() || m_engines->spell->spell(c.encode(w)))
        return true;
    // A selection of several words is right when each of them is.
    const QStringList pieces = w.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    if (pieces.size() > 1)
        return std::all_of(pieces.begin(), pieces.end(), [this](const QString& p) { return check(p); });
    QString before, core, after;
    splitPunctuation(w, before, core, after);
    if (!hasLetter(core))
        return true;
    return core != w && m_engines->spell->spell(c.encode(core));
}

QStringList cLanguageTools::suggestions(const QString& word)
{
    if (!m_engines->spell)
        return {};
    QString before, core, after;
    splitPunctuation(word.trimmed(), before, core, after);
    QStringList out;
    for (const std::string& s : m_engines->spell->suggest(m_engines->spellCodec.encode(core)))
        appendOnce(out, before + m_engines->spellCodec.decode(s) + after);
    return out;
}

QStringList cLanguageTools::lookupForms(const QString& word)
{
    QString before, core, after;
    splitPunctuation(word.trimmed(), before, core, after);
    QStringList forms;
    appendOnce(forms, core);
    appendOnce(forms, core.toLower());
    if (m_engines->spell)
        for (const std::string& s : m_engines->spell->stem(m_engines->spellCodec.encode(core)))
            appendOnce(forms, m_engines->spellCodec.decode(s));
    return forms;
}

void cLanguageTools::lookUp(const QString& word,
                            const std::function<void(const QString& meaning, const QStringList& entries)>& each)
{
    if (!m_engines->thes)
        return;
    const Codec& c = m_engines->thesCodec;
    // The first form the thesaurus knows gives the answer.
    for (const QString& form : lookupForms(word)) {
        const std::string key = c.encode(form);
        mentry* pm = nullptr;
        const int n = m_engines->thes->Lookup(key.c_str(), int(key.size()), &pm);
        for (int i = 0; i < n; ++i) {
            QStringList entries;
            for (int k = 0; k < pm[i].count; ++k)
                entries << c.decode(pm[i].psyns[k]);
            each(c.decode(pm[i].defn ? pm[i].defn : ""), entries);
        }
        if (pm)
            m_engines->thes->CleanUpAfterLookup(&pm, n);
        if (n > 0)
            return;
    }
}

QList<Meaning> cLanguageTools::meanings(const QString& word)
{
    QList<Meaning> out;
    lookUp(word, [&out](const QString& meaning, const QStringList& entries) {
        Meaning m{meaning, {}};
        for (const QString& e : entries)
            if (!isAntonym(e))
                appendOnce(m.synonyms, plainEntry(e));
        out << m;
    });
    return out;
}

QStringList cLanguageTools::antonyms(const QString& word)
{
    QStringList out;
    lookUp(word, [&out](const QString&, const QStringList& entries) {
        for (const QString& e : entries)
            if (isAntonym(e))
                appendOnce(out, plainEntry(e));
    });
    return out;
}

bool cLanguageTools::addWord(const QString& word, QString* error)
{
    if (!addPersonalWord(m_folders.personal, word, error))
        return false;
    if (m_engines->spell)
        m_engines->spell->add(m_engines->spellCodec.encode(word.trimmed()));
    return true;
}

// --- the walk ------------------------------------------------------------------------

QString spellPage(const QStringList& words, int wrong)
{
    QString page = QStringLiteral("<html><head><style type=\"text/css\">a {background-color: #ADD0FC}</style>"
                                  "</head><body><p>");
    for (int i = 0; i < words.size(); ++i) {
        if (i > 0)
            page += QLatin1Char(' ');
        const QString w = words[i].toHtmlEscaped();
        page += i == wrong ? QStringLiteral("<a>") + w + QStringLiteral("</a>") : w;
    }
    return page + QStringLiteral("</p></body></html>");
}

bool spellBody(SpellTarget& target, cLanguageTools& tools, const SpellAsk& ask)
{
    for (const TextRun& run : target.runs()) {
        QStringList words = run.text.split(QLatin1Char(' '));
        bool changed = false;
        for (int i = 0; i < words.size(); ++i) {
            if (tools.check(words[i]))
                continue;
            target.selectParent(run.id);
            const QString answer = ask(words[i], spellPage(words, i), tools.suggestions(words[i]));
            target.clearSelection();
            if (answer == QLatin1String(kStopWord))
                return true;
            if (!answer.isEmpty()) {
                words[i] = answer;
                changed = true;
            }
        }
        if (changed)
            target.write(run.id, words.join(QLatin1Char(' ')));
    }
    return false;
}

QString spellSelection(const QString& text, cLanguageTools& tools, const SpellAsk& ask)
{
    if (text.isEmpty() || tools.check(text))
        return {};
    const QString answer = ask(text, spellPage({text}, 0), tools.suggestions(text));
    return answer == QLatin1String(kStopWord) ? QString() : answer;
}

// --- the surface's dictionaries ------------------------------------------------------------

QString webDictionaryName(const QString& code)
{
    QString n = code;
    return n.replace(QLatin1Char('_'), QLatin1Char('-'));
}

QString converterPath()
{
    const QString inQt = QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath) +
                         QStringLiteral("/qwebengine_convert_dict");
    if (QFileInfo(inQt).isExecutable())
        return inQt;
    return QStandardPaths::findExecutable(QStringLiteral("qwebengine_convert_dict"));
}

bool ensureWebDictionary(const Folders& folders, const QString& code, QString* error, bool force)
{
    auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    const QString dic = cLanguageTools(folders).dictionaryBase(code);
    if (dic.isEmpty())
        return fail(QStringLiteral("no dictionary for ") + code);
    const QString target = folders.webDictionaries + QLatin1Char('/') + webDictionaryName(code) + QStringLiteral(".bdic");
    const QFileInfo out(target);
    if (!force && out.exists()) {
        const QDateTime built = out.lastModified();
        const QFileInfo personal(folders.personal);
        if (QFileInfo(dic + QStringLiteral(".dic")).lastModified() <= built &&
            QFileInfo(dic + QStringLiteral(".aff")).lastModified() <= built &&
            (!personal.exists() || personal.lastModified() <= built))
            return true;
    }
    const QString converter = converterPath();
    if (converter.isEmpty())
        return fail(QStringLiteral("qwebengine_convert_dict (qt6-webengine-dev-tools) is not installed"));

    // The converter reads NAME.dic with NAME.aff beside it: a copy with the
    // personal words added, its count line raised to match.
    QTemporaryDir tmp;
    if (!tmp.isValid())
        return fail(QStringLiteral("no temporary folder"));
    const QString base = tmp.path() + QLatin1Char('/') + code;
    if (!QFile::copy(dic + QStringLiteral(".aff"), base + QStringLiteral(".aff")))
        return fail(QStringLiteral("cannot copy ") + dic + QStringLiteral(".aff"));
    QFile in(dic + QStringLiteral(".dic"));
    if (!in.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot read ") + in.fileName());
    QByteArray words = in.readAll();
    const QStringList personal = loadPersonalWords(folders.personal);
    if (!personal.isEmpty()) {
        QFile aff(dic + QStringLiteral(".aff"));
        QString encoding = QStringLiteral("ISO8859-1");
        if (aff.open(QIODevice::ReadOnly)) {
            static const QRegularExpression set(QStringLiteral("^SET\\s+(\\S+)"), QRegularExpression::MultilineOption);
            const QRegularExpressionMatch m = set.match(QString::fromLatin1(aff.readAll()));
            if (m.hasMatch())
                encoding = m.captured(1);
        }
        const Codec codec(encoding);
        const qsizetype eol = words.indexOf('\n');
        const int count = words.left(eol).trimmed().toInt();
        QByteArray rest = eol < 0 ? QByteArray() : words.mid(eol + 1);
        if (!rest.isEmpty() && !rest.endsWith('\n'))
            rest += '\n';
        for (const QString& w : personal)
            rest += QByteArray::fromStdString(codec.encode(w)) + '\n';
        words = QByteArray::number(count + personal.size()) + '\n' + rest;
    }
    QFile copy(base + QStringLiteral(".dic"));
    if (!copy.open(QIODevice::WriteOnly) || copy.write(words) != words.size())
        return fail(QStringLiteral("cannot write ") + copy.fileName());
    copy.close();

    QDir().mkpath(folders.webDictionaries);
    const QString built = tmp.path() + QStringLiteral("/out.bdic");
    QProcess p;
    p.start(converter, {base + QStringLiteral(".dic"), built});
    if (!p.waitForFinished(60000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0 ||
        !QFileInfo::exists(built))
        return fail(QStringLiteral("qwebengine_convert_dict failed: ") +
                    QString::fromLocal8Bit(p.readAllStandardError() + p.readAllStandardOutput()).trimmed());
    QFile b(built);
    if (!b.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot read ") + built);
    QString why;
    if (!fileio::atomicReplace(target, b.readAll(), {}, &why))
        return fail(why);
    return true;
}

} // namespace langtools
