#pragma once
// The output properties: the model behind the dialog frmOutputProperties.
// Every control of the dialog that holds a value is here by name and index
// (index -1 for a control that is not part of an array), in the dialog's
// control order, so that a view can sit on it and the command line can
// publish without a window. The stylesheet generators read it.
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

class MsgBox;

class cOutputProperties {
public:
    enum class Kind { Check, Option, Text, Combo, Picture };

    // Tabs, by index.
    static constexpr int kHH = 0;
    static constexpr int kPDF = 1;
    static constexpr int kHTML = 2;
    static constexpr int kHTMLFrames = 3;
    // The two newer formats; their controls follow the four older tabs'
    // in the .qop file, so an older file loads with their defaults.
    static constexpr int kWebHelp = 4;
    static constexpr int kEPUB = 5;
    static constexpr int kTabCount = 6;

    struct Control {
        QString name;
        int index = -1; // -1: a single control (#NULL# in the file)
        Kind kind = Kind::Check;
        int value = 0;      // check box: 0 or 1
        bool option = false; // option button
        QString text;       // text box, or the text of a combo box
        QStringList items;  // combo box list
        bool enabled = true;
        int32_t color = 0;  // picture box BackColor: red in the low byte
        int listIndex() const { return int(items.indexOf(text)); }
    };

    // Builds the controls and runs the four reset routines (form load
    // without last.qop).
    cOutputProperties();

    const std::vector<Control>& controls() const { return m_controls; }
    // The control of that name and index; a single control answers any index.
    Control* find(const QString& name, int index);
    const Control* find(const QString& name, int index) const;

    // Typed access by name and tab. Unknown controls read as empty/false.
    bool check(const QString& name, int tab) const;
    void setCheck(const QString& name, int tab, bool on); // runs the click handling
    bool option(const QString& name, int tab) const;
    void setOption(const QString& name, int tab, bool on); // clears its group's partner
    QString text(const QString& name, int tab) const;      // text box or combo text
    void setText(const QString& name, int tab, const QString& text);
    bool setListIndex(const QString& name, int tab, int listIndex);
    bool isEnabled(const QString& name, int tab) const;
    int32_t color(const QString& name, int tab) const;
    void setColor(const QString& name, int tab, int32_t value);
    void setColorHex(const QString& name, int tab, const QString& rrggbb);

    // Defaults per tab.
    void resetHH();
    void resetPDF();
    void resetHTML();
    void resetHTMLFrames();
    void resetWebHelp();
    void resetEPUB();
    void reset(int tab); // cmdHTMLReset(index)

    // Selected tab; SwitchTab takes a format key ("HH", "PDF", "HTML",
    // "HTMLFrames", "WebHelp", "EPUB"); an unknown key does nothing.
    void SwitchTab(const QString& key);
    int currentTab() const { return m_tab; }
    static int tabOfKey(const QString& key); // -1 when unknown

    QString ImageFolder;           // where the cover image browser starts
    bool fontConfigurationFound = false;
    // The font names the configuration declares: the PDF's font lists name
    // the fallbacks among them.
    QStringList configuredFonts;

    QString GetHHOutput() const { return outputOf(kHH); }
    QString GetPDFOutput() const { return outputOf(kPDF); }
    QString GetHTMLOutput() const { return outputOf(kHTML); }
    QString GetHTMLFramesOutput() const { return outputOf(kHTMLFrames); }
    QString GetWebHelpOutput() const { return outputOf(kWebHelp); }
    QString GetEPUBOutput() const { return outputOf(kEPUB); }
    // The cover image text of the key's tab ("" for an unknown key); sets
    // fontConfigurationFound and configuredFonts from the font configuration.
    QString GetCoverImage(const QString& key);

    // The generated customisation stylesheets (one line each).
    QString GetHHStylesheet() const;
    QString GetPDFStylesheet() const;
    QString GetHTMLStylesheet() const;
    QString GetHTMLFramesStylesheet() const;
    QString GetWebHelpStylesheet() const;
    // The look of the EPUB's pages as CSS, and its contents depth.
    QString GetEPUBStyle() const;
    int GetEPUBToCDepth() const;

    // The .qop file. SaveProperties replaces the file whole or not at all;
    // false with the reason in *error. LoadProperties is silent for a missing
    // file and shows "File is not a ... Data File" for one it cannot read as
    // such; true when the records were read.
    bool SaveProperties(const QString& path, QString* error = nullptr) const;
    bool LoadProperties(const QString& path, MsgBox& box);
    // The text SaveProperties writes.
    QByteArray propertiesText() const;

    // The dialog's closing and opening logic around last.qop.
    static QString lastQopPath(); // in the user's configuration folder
    void formLoad(MsgBox& box);  // resets, then last.qop if there is one
    void cmdOK();                // saves last.qop
    void cmdCancel(MsgBox& box); // reloads last.qop if there is one

    // Value helpers shared with the generators and the settings dialog.
    static QString colorToHex(int32_t value);  // RRGGBB, upper case, no "#"
    static int32_t hexToColor(const QString& rrggbb);
    static QStringList fontList(bool noComicSans);
    static QStringList sizeList();
    static QStringList paperList();

private:
    QString outputOf(int tab) const;
    void add(const QString& name, int index, Kind kind);
    void addStyleList(int tab);
    void fillCombos(int tab);
    void resetCommon(int tab);
    std::vector<Control> m_controls;
    int m_tab = 0;
};

// Parts of the generators, exposed for tests.
namespace stylesheet {
// The text read as a number (leading number of the text, 0 if none).
double val(const QString& text);
// Rounds halves to the even neighbour.
long long roundEven(double v);
QString sizeText(const QString& comboText);
QString cssFontFamily(const QString& comboText);
QString foFontFamily(const QString& comboText, bool configurationFound);
// The import targets on this machine.
QString docbookFolder();
void setDocbookFolder(const QString& folder); // tests
// Our faster DocBook templates (on unless a test compares against DocBook's own).
bool docbookLayerEnabled();
void setDocbookLayerEnabled(bool on);
QString importHref(const QString& format);    // "HH", "PDF", "HTML", "HTMLFrames", "WebHelp"
} // namespace stylesheet
