#pragma once
// The output driver: the model behind the dialog frmOutput. One object serves
// one run: preflight of a language, the DocBook pass and the pipeline of the
// chosen format, all reported through the log.
#include <QDateTime>
#include <QString>
#include <QSet>
#include <QStringList>

#include <atomic>
#include <vector>

class cProject;
class cOutputProperties;
class OutputLog;
class MsgBox;
struct XsltJob;
struct XsltResult;

class cOutput {
public:
    cOutput(cProject& project, cOutputProperties& properties, OutputLog& log, MsgBox& box);

    // Format words.
    static inline const QString kHTMLHelp = QStringLiteral("htmlhelp");
    static inline const QString kPDF = QStringLiteral("pdf");
    static inline const QString kHTML = QStringLiteral("html");
    static inline const QString kHTMLChunk = QStringLiteral("htmlchunk");
    static inline const QString kWebHelp = QStringLiteral("webhelp");
    static inline const QString kEPUB = QStringLiteral("epub");

    // The formats in the dialog's order: word (command line), key of the
    // properties tab, caption and the dialog's option name.
    struct Format {
        QString word, key, caption;
        const char* option;
    };
    static const std::vector<Format>& formats();
    static QString keyOfWord(const QString& word);

    // A flag that another thread sets to stop the run: the running step (a
    // transformation, the compiler, FOP) ends, the failure path cleans up,
    // and the log says it was cancelled.
    void setCancel(const std::atomic<bool>* cancel) { m_cancel = cancel; }
    bool cancelled() const { return m_cancel && *m_cancel; }
    static inline const QString kCancelledLine =
        QStringLiteral("CANCELLED: Creating output was cancelled; nothing was published.");

    // The names for cmbLanguages: the main language first.
    QStringList languageNames() const;
    // cmdOK of the choice view. False when the dialog stays in the choice view.
    bool cmdOK(const QString& languageName, const QString& formatWord, bool keepDocBook);
    // Preflight and dispatch. False when the run ended before the log view.
    bool runOutput(const QString& language, const QString& formatWord, bool keepDocBook);

    bool makeDocBook(const QString& language, const QString& out, const QString& cover);
    void makeHTMLHelp(const QString& language, bool keepDocBook);
    // The context IDs of the book to their pages, for applications that open
    // a web help at an ID.
    void writeContextMap(const QStringList& pages, const QString& folder, const QString& target);
    void makePDF(const QString& language, bool keepDocBook);
    void makeHTML(const QString& language, bool keepDocBook);
    void makeHTMLFrames(const QString& language, bool keepDocBook);
    // Responsive pages with contents, breadcrumbs and search in the browser.
    void makeWebHelp(const QString& language, bool keepDocBook);
    void makeEPUB(const QString& language, bool keepDocBook);

    static void removeHelpSources(const QString& folder);
    // outputFolder is relative to the project folder ("output/html").
    void copyImages(const QString& docBookFile, const QString& outputFolder, const QString& language,
                    const QString& cover);
    static QString timeSpent(const QDateTime& start, const QDateTime& end);

    // State of the dialog.
    QString resultFile;
    bool logView() const { return m_logView; }
    bool resultButtonsEnabled() const { return m_resultButtons; }

    // Called by the pipelines; a view listens through the log.
    void enableResultButtons() { m_resultButtons = true; }
    void showLogView();

    // The project folder (disk path, closing slash) and its working folder.
    QString projectFolder() const;
    QString tempFolder() const;

private:
    void logLine(const QString& text, bool error = false, bool newLine = true);
    void blank();
    void logTail(const QString& output);
    void finish(const QDateTime& start);
    bool writeStylesheet(const QString& text, QString* error = nullptr);
    // A chunked format's pages in relative (below the project folder), its
    // images and context map; what the run wrote is kept, the rest of the
    // folder goes at finishChunked. False after the failure was logged.
    struct ChunkedPages {
        QString folder;
        QStringList pages;
        QSet<QString> keep;
    };
    bool chunkedPages(const QString& relative, const QString& language, const QString& coverPath,
                      ChunkedPages& out);
    void failChunked(const QString& folder);
    void finishChunked(const ChunkedPages& pages, const QDateTime& start);
    // The second transformation: temp's DocBook file through temp's
    // stylesheet, writing into writeFolder (and output, when given).
    XsltJob secondPass(const QString& writeFolder, const QString& output = {}) const;
    // The second transformation of the HTML formats: by the chunker's
    // workers, or by DocBook alone for a book the chunker leaves to it.
    XsltResult htmlPass(bool pages, const QString& writeFolder, const QString& output = {});
    void keepCopy(const QString& language);
    QString bookBase() const;
    QString coverValue(const QString& language, const QString& cover) const;
    QStringList readFolders() const;
    cProject& m_project;
    cOutputProperties& m_props;
    OutputLog& m_log;
    MsgBox& m_box;
    bool m_logView = false;
    const std::atomic<bool>* m_cancel = nullptr;
    bool m_resultButtons = false;
};

// Takes the files that the [ALIAS] and [MAP] sections of an HTML Help
// project name by #include into the project file, in the form chmcmd reads.
bool inlineHhpIncludes(const QString& hhpFile);

// Removes a folder with everything in it; true when it is gone.
bool removeFolder(const QString& path);
// Gives the owner write access to everything in a folder.
void makeWritable(const QString& folder);
// Removes from a folder every file and folder that is not named in keep
// (clean absolute paths); a kept folder keeps all it holds.
void keepOnly(const QString& folder, const QSet<QString>& keep);

// The Java heap for FOP, in MB, for a Formatting Objects file of foBytes on
// a machine with physicalMb of memory (0: unknown): FOP holds the document's
// pages in memory, so the heap follows the book; at least 1 GB, at most
// three quarters of the machine.
int fopHeapMb(qint64 foBytes, qint64 physicalMb);
// The machine's memory in MB; 0 when it cannot be read.
qint64 physicalMemoryMb();
