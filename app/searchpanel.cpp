#include "searchpanel.h"

#include <QAbstractTextDocumentLayout>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTextDocument>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

// Draws the snippet column as rich text, so that the hit stands out.
class SnippetDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QString html = index.data(SearchPanel::kSnippetHtmlRole).toString();
        if (html.isEmpty()) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        QStyleOptionViewItem opt = option;
        initStyleOption(&opt, index);
        opt.text.clear();
        QStyle* style = opt.widget ? opt.widget->style() : nullptr;
        if (style)
            style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, opt.widget);
        const QRect area = style ? style->subElementRect(QStyle::SE_ItemViewItemText, &opt, opt.widget) : opt.rect;

        QTextDocument doc;
        doc.setDocumentMargin(0);
        doc.setDefaultFont(opt.font);
        doc.setHtml(html);
        QAbstractTextDocumentLayout::PaintContext context;
        const bool selected = opt.state & QStyle::State_Selected;
        context.palette.setColor(QPalette::Text, opt.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
        painter->save();
        painter->setClipRect(area);
        painter->translate(area.left(), area.top() + (area.height() - doc.size().height()) / 2);
        doc.documentLayout()->draw(painter, context);
        painter->restore();
    }
};

QString snippetHtml(const SearchHit& h)
{
    return h.snippet.left(h.snippetStart).toHtmlEscaped() + QStringLiteral("<b>") +
           h.snippet.mid(h.snippetStart, h.length).toHtmlEscaped() + QStringLiteral("</b>") +
           h.snippet.mid(h.snippetStart + h.length).toHtmlEscaped();
}

QString counted(qsizetype n, const char* one, const char* many)
{
    return QStringLiteral("%1 %2").arg(n).arg(QString::fromLatin1(n == 1 ? one : many));
}

} // namespace

SearchPanel::SearchPanel(QWidget* parent) : QDockWidget(parent)
{
    setObjectName(QStringLiteral("dckSearch"));
    setWindowTitle(QStringLiteral("Search"));

    auto* body = new QWidget(this);
    txtSearch = new QLineEdit(body);
    txtSearch->setObjectName(QStringLiteral("txtSearch"));
    txtSearch->setPlaceholderText(QStringLiteral("Search the book"));
    txtSearch->setClearButtonEnabled(true);
    btnSearch = new QPushButton(QStringLiteral("&Search"), body);
    btnSearch->setObjectName(QStringLiteral("btnSearch"));
    chkMatchCase = new QCheckBox(QStringLiteral("Match &case"), body);
    chkMatchCase->setObjectName(QStringLiteral("chkMatchCase"));
    chkWholeWord = new QCheckBox(QStringLiteral("&Whole words"), body);
    chkWholeWord->setObjectName(QStringLiteral("chkWholeWord"));
    lstResults = new QTreeWidget(body);
    lstResults->setObjectName(QStringLiteral("lstResults"));
    lstResults->setColumnCount(2);
    lstResults->setHeaderLabels({QStringLiteral("Topic"), QStringLiteral("Text")});
    lstResults->setRootIsDecorated(false);
    lstResults->setUniformRowHeights(true);
    lstResults->setAllColumnsShowFocus(true);
    lstResults->setTextElideMode(Qt::ElideLeft); // the topic's own title is the end of its path
    lstResults->setItemDelegateForColumn(1, new SnippetDelegate(lstResults));
    lstResults->header()->setStretchLastSection(true);
    lstResults->setColumnWidth(0, 260);
    lstResults->installEventFilter(this);
    lblSearchStatus = new QLabel(body);
    lblSearchStatus->setObjectName(QStringLiteral("lblSearchStatus"));
    lblSearchStatus->setWordWrap(true);

    auto* row = new QHBoxLayout;
    row->addWidget(txtSearch, 1);
    row->addWidget(btnSearch);
    auto* options = new QHBoxLayout;
    options->addWidget(chkMatchCase);
    options->addWidget(chkWholeWord);
    options->addStretch(1);
    auto* column = new QVBoxLayout(body);
    column->setContentsMargins(4, 4, 4, 4);
    column->addLayout(row);
    column->addLayout(options);
    column->addWidget(lstResults, 1);
    column->addWidget(lblSearchStatus);
    setWidget(body);

    connect(btnSearch, &QPushButton::clicked, this, &SearchPanel::startSearch);
    connect(txtSearch, &QLineEdit::returnPressed, this, &SearchPanel::startSearch);
    connect(lstResults, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { activate(item); });
    connect(&m_job, &BookSearchJob::finished, this, &SearchPanel::showResults);
}

SearchPanel::~SearchPanel() = default;

void SearchPanel::startSearch()
{
    const QString text = booksearch::normaliseQuery(txtSearch->text());
    m_job.cancel();
    lstResults->clear();
    m_hits.clear();
    lblSearchStatus->setToolTip({});
    if (text.isEmpty()) {
        lblSearchStatus->clear();
        return;
    }
    const SourceInfo source = m_source ? m_source() : SourceInfo{};
    if (source.projectFile.isEmpty()) {
        lblSearchStatus->setText(QStringLiteral("No project is open."));
        return;
    }
    BookSearchOptions options;
    options.matchCase = chkMatchCase->isChecked();
    options.wholeWord = chkWholeWord->isChecked();
    options.maxResults = m_maxResults;
    lblSearchStatus->setText(QStringLiteral("Searching…"));
    m_job.start(source, text, options);
}

void SearchPanel::clear()
{
    m_job.cancel();
    lstResults->clear();
    m_hits.clear();
    lblSearchStatus->clear();
    lblSearchStatus->setToolTip({});
}

void SearchPanel::showResults(const QList<SearchHit>& hits, bool capped, const QStringList& errors)
{
    m_hits = hits;
    lstResults->clear();
    QList<QTreeWidgetItem*> items;
    items.reserve(hits.size() + errors.size());
    for (qsizetype i = 0; i < hits.size(); ++i) {
        const SearchHit& h = hits[i];
        auto* item = new QTreeWidgetItem({h.path, h.snippet});
        item->setData(0, kHitRole, int(i));
        item->setData(1, kSnippetHtmlRole, snippetHtml(h));
        item->setToolTip(0, h.path);
        item->setToolTip(1, h.snippet);
        items << item;
    }
    for (const QString& e : errors) {
        auto* item = new QTreeWidgetItem({QStringLiteral("Not searched"), e});
        item->setToolTip(1, e);
        item->setForeground(0, QBrush(Qt::red));
        item->setForeground(1, QBrush(Qt::red));
        items << item;
    }
    lstResults->addTopLevelItems(items);

    QString status;
    if (capped)
        status = QStringLiteral("More than %1 results; only the first %1 are shown.").arg(m_maxResults);
    else if (hits.isEmpty())
        status = QStringLiteral("No results.");
    else
        status = counted(hits.size(), "result", "results") + QStringLiteral(" in ") +
                 counted(BookSearchResult{hits, false, false, {}}.topicCount(), "topic", "topics");
    if (!errors.isEmpty())
        status += QLatin1Char(' ') + counted(errors.size(), "file could not be searched.", "files could not be searched.");
    lblSearchStatus->setText(status);
    lblSearchStatus->setToolTip(errors.join(QLatin1Char('\n')));
}

void SearchPanel::activate(QTreeWidgetItem* item)
{
    if (!item)
        return;
    const QVariant index = item->data(0, kHitRole);
    if (!index.isValid() || index.toInt() < 0 || index.toInt() >= m_hits.size())
        return;
    emit hitActivated(m_hits[index.toInt()]);
}

bool SearchPanel::eventFilter(QObject* watched, QEvent* event)
{
    // Enter opens the current hit; moving through the list does not.
    if (watched == lstResults && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            activate(lstResults->currentItem());
            return true;
        }
    }
    return QDockWidget::eventFilter(watched, event);
}
