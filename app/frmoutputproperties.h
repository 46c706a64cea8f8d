#pragma once
// Output Properties: one tab per output format with the look and content of
// that format. A view over cOutputProperties: every control of the model is
// a widget of the same name (controls of an array share the name and carry
// their index in the property "index"), and every edit goes to the model at
// once, so the generators read what the form shows.
#include "dialogsupport.h"
#include "outputproperties.h"

#include <QDialog>
#include <QHash>

#include <memory>
#include <vector>

class MsgBox;
class QAbstractButton;
class QPushButton;
class QTabWidget;
class QLabel;

class frmOutputProperties : public QDialog {
    Q_OBJECT
public:
    // Filters of the file dialogs, in Qt's form.
    static const QString kQopFilter;
    static const QString kImageFilter;

    // box: where messages go; a QtMsgBox on this form when null.
    explicit frmOutputProperties(cOutputProperties& model, MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmOutputProperties() override;

    cOutputProperties& model() { return m_model; }

    // Selects the tab of a format key ("HH", "PDF", "HTML", "HTMLFrames").
    void SwitchTab(const QString& key);
    // Shows the model's values in every control (after a load or a reset).
    void refresh();
    // The widget of a control by name and tab index; a control that is not
    // part of an array answers any index. Null when there is none.
    QWidget* control(const QString& name, int index) const;

    // Replaceable choosers (null: the platform dialogs).
    dialogsupport::FileAskFn cdlLoad;
    dialogsupport::FileAskFn cdlSave;
    dialogsupport::FileAskFn cdlImage;
    dialogsupport::ColorAskFn cdlColor;

    QTabWidget* tabOptions;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;
    QPushButton* cmdLoad;
    QPushButton* cmdSave;

public slots:
    void cmdOK_Click();
    void cmdCancel_Click();
    void cmdLoad_Click();
    void cmdSave_Click();
    void cmdHTMLReset_Click(int index);
    void cmdImageBrowse_Click(int index);
    // A click on a colour swatch.
    void pickColor(QAbstractButton* swatch);
    // Title bar and Escape: as Cancel.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    struct Bound {
        QWidget* widget;
        QString name;
        int index; // the model's index, -1 for a single control
    };
    QWidget* buildTab(int tab);
    QWidget* styleGroup(int tab, const char* frame, const QString& caption, const QStringList& rows);
    void bind(QWidget* widget, const QString& name, int index);
    bool has(const QString& name, int tab) const;
    int modelIndex(const QString& name, int tab) const;
    void showControl(const Bound& b);
    void refreshStates();
    std::optional<QString> ask(const dialogsupport::FileAskFn& fn, bool save, const QString& folder,
                               const QString& filter);

    cOutputProperties& m_model;
    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    std::vector<Bound> m_bound;
    QHash<QString, QWidget*> m_byKey;
    bool m_placed = false;
};
