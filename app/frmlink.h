#pragma once
// Link Properties: the target of a link, a topic or anchor of the book or a
// web address. Exchanges a cLink and a cOKorCancel with the Link command.
#include "booktree.h"

#include <QDialog>

#include <memory>

class MsgBox;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTreeWidget;
class QTreeWidgetItem;
class cLink;
class cOKorCancel;
class cProject;

class frmLink : public QDialog {
    Q_OBJECT
public:
    explicit frmLink(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmLink() override;

    void SetProject(cProject* project) { m_project = project; }
    void LinkElement(cLink* link) { m_link = link; }
    void OKorCancel(cOKorCancel* ok) { m_ok = ok; }
    // Form load: the tree of targets, then the values of the link; runs once,
    // at the first show at the latest.
    void load();

    // The item of a target by its id; null when there is none.
    QTreeWidgetItem* itemOf(const QString& key) const;
    static QString keyOf(const QTreeWidgetItem* item);
    static QString tagOf(const QTreeWidgetItem* item);

    QRadioButton* optLocal;
    QRadioButton* optURL;
    QTreeWidget* trvTopics;
    QLineEdit* txtURLAdress;
    QLineEdit* txtLinkDescription;
    QPushButton* cmdInsert;
    QPushButton* cmdCancel;

public slots:
    void optURL_Click();
    void optLocal_Click();
    void cmdInsert_Click();
    void cmdCancel_Click();

    // Cancel, Escape and the close button: OK false.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void createTopicTree();
    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cProject* m_project = nullptr;
    cLink* m_link = nullptr;
    cOKorCancel* m_ok = nullptr;
    BookTree m_tree;
    bool m_loaded = false;
};
