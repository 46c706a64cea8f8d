#pragma once
// The search of the editing surface: a slim bar under the page, opened by
// Find, closed by Escape. It searches as the text is typed.
#include <QWidget>

#include <functional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QToolButton;

class FindBar : public QWidget {
    Q_OBJECT
public:
    explicit FindBar(QWidget* parent = nullptr);

    // Shows the bar with the text selected and the focus in it.
    void open();
    // Runs the search; the number of matches (0: none).
    std::function<int(const QString& text, bool backward, bool matchCase)> onFind;
    // The bar was closed; the page should get the focus back.
    std::function<void()> onClosed;

    QLineEdit* txtFind;
    QToolButton* cmdPrevious;
    QToolButton* cmdNext;
    QCheckBox* chkMatchCase;
    QLabel* lblResult;
    QToolButton* cmdClose;

public slots:
    void findNext();
    void findPrevious();
    void closeBar();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void search(bool backward);
};
