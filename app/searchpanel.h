#pragma once
// The search of the whole book as a dock: a word or phrase, match case and
// whole words, and a list of the hits with their topics. The search runs on
// a worker thread; the panel never opens a topic itself, it reports the hit
// that the user picked.
#include "booksearch.h"

#include <QDockWidget>

#include <functional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

class SearchPanel : public QDockWidget {
    Q_OBJECT
public:
    using SourceInfo = BookSearchSource;

    explicit SearchPanel(QWidget* parent = nullptr);
    ~SearchPanel() override;

    // Asked at the start of every search, on the interface thread: the
    // project file and the language to search (the window may save the open
    // topic here first). An empty project file: nothing is open.
    void setSource(std::function<SourceInfo()> source) { m_source = std::move(source); }
    // At most this many results are listed (1000 unless set).
    void setMaxResults(int count) { m_maxResults = count; }
    int maxResults() const { return m_maxResults; }

    // The hits listed now, in the list's order (error rows are not hits).
    const QList<SearchHit>& hits() const { return m_hits; }
    bool isSearching() const { return m_job.isRunning(); }

    QLineEdit* txtSearch;
    QCheckBox* chkMatchCase;
    QCheckBox* chkWholeWord;
    QPushButton* btnSearch;
    QTreeWidget* lstResults;
    QLabel* lblSearchStatus;

    // The item role of the snippet as rich text (the hit in bold).
    static constexpr int kSnippetHtmlRole = Qt::UserRole + 1;
    // The item role of the hit's index in hits(); none on error rows.
    static constexpr int kHitRole = Qt::UserRole + 2;

public slots:
    // Starts a search with the text and options shown; a running one is
    // cancelled.
    void startSearch();
    // Cancels a running search and empties the list (the project closed).
    void clear();

signals:
    void hitActivated(const SearchHit& hit);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showResults(const QList<SearchHit>& hits, bool capped, const QStringList& errors);
    void activate(QTreeWidgetItem* item);

    std::function<SourceInfo()> m_source;
    BookSearchJob m_job;
    QList<SearchHit> m_hits;
    int m_maxResults = 1000;
};
