// The darkroom in German: no text is missing.
#include "examples/darkroom/ui/German.h"

#include "examples/darkroom/ui/Actions.h"
#include "examples/darkroom/ui/ParameterDialog.h"
#include "examples/darkroom/ui/PreferencesDialog.h"
#include "plugins/PictureFile.h"
#include "tests/darkroom/DarkroomWorld.h"

#include <algorithm>
#include <map>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRegularExpression>
#include <set>

namespace {

const QString kSources = QT_TESTCASE_SOURCEDIR "/../../examples/darkroom";
const QString kLiteral = R"("(?:[^"\\]|\\.)*")";

QString fnReadSource(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

/// The value of adjacent string literals.
std::string fnJoin(const QString& literals) {
    QString joined;
    for (auto all = QRegularExpression(kLiteral).globalMatch(literals); all.hasNext();) {
        const QString literal = all.next().captured();
        joined += literal.mid(1, literal.size() - 2);
    }
    return joined.replace("\\n", "\n").replace("\\\"", "\"").toStdString();
}

/// The texts that the sources of the windows translate.
std::set<std::string> fnFindTexts() {
    std::set<std::string> texts;
    const QRegularExpression marked(R"((?:\btr\(|QT_TRANSLATE_NOOP\(\s*"QObject"\s*,)\s*((?:)" +
                                    kLiteral + R"(\s*)+))");
    const QDir folder(kSources + "/ui");
    for (const QString& name : folder.entryList({"*.cpp", "*.h"}, QDir::Files))
        for (auto all = marked.globalMatch(fnReadSource(folder.filePath(name))); all.hasNext();)
            texts.insert(fnJoin(all.next().captured(1)));
    // The names of steps.
    const QRegularExpression step(R"("[A-Z][A-Za-z ]+")");
    for (auto all = step.globalMatch(fnReadSource(kSources + "/model/Document.cpp"));
         all.hasNext();)
        texts.insert(fnJoin(all.next().captured()));
    return texts;
}

/// The texts of the tables, which are translated when they are shown.
std::set<std::string> fnListTables() {
    using namespace darkroom;
    std::set<std::string> texts(std::begin(kMenus), std::end(kMenus));
    for (const ActionEntry& entry : ActionTable::fnGetActions())
        if (entry.m_pszText)
            texts.insert(entry.m_pszText);
    for (const ToolEntry& entry : fnGetTools())
        texts.insert(entry.m_pszText);
    std::vector<const Operation*> operations{&fnGetFillOperation()};
    for (const Operation& operation : fnGetOperations())
        operations.push_back(&operation);
    for (const Operation* operation : operations) {
        texts.insert(operation->m_pszName);
        for (const Parameter& parameter : operation->m_Parameters)
            texts.insert(parameter.m_pszName);
    }
    for (int limit = 0; limit <= static_cast<int>(PICTURE_LIMIT_SOUND_TIME); ++limit)
        if (const char* const text = q32GetPictureLimitText(static_cast<PICTURE_LIMIT>(limit)))
            texts.insert(text);
    return texts;
}

std::multiset<QString> fnFindPlaces(const char* text) {
    std::multiset<QString> places;
    for (auto all = QRegularExpression(R"(%\d|\[\*\]|&)").globalMatch(QString::fromUtf8(text));
         all.hasNext();)
        places.insert(all.next().captured());
    return places;
}

class DarkroomGerman : public DarkroomWindow {
protected:
    void SetUp() override {
        darkroom::fnSetLanguage(*qApp, "de");
        DarkroomWindow::SetUp();
    }
    void TearDown() override {
        DarkroomWindow::TearDown();
        darkroom::fnSetLanguage(*qApp, "en");
    }
};

} // namespace

TEST(DarkroomGermanTexts, EachTextOfTheWindowsHasOne) {
    std::set<std::string> known;
    for (const darkroom::GermanText& text : darkroom::fnGetGermanTexts()) {
        EXPECT_TRUE(known.insert(text.m_pszEnglish).second) << "twice: " << text.m_pszEnglish;
        EXPECT_STRNE(text.m_pszGerman, "") << text.m_pszEnglish;
        EXPECT_EQ(fnFindPlaces(text.m_pszEnglish), fnFindPlaces(text.m_pszGerman))
            << text.m_pszEnglish;
    }
    const std::set<std::string> found = fnFindTexts();
    EXPECT_GT(found.size(), 180u) << "the sources are searched";
    for (const std::set<std::string>& texts : {found, fnListTables()})
        for (const std::string& text : texts)
            EXPECT_TRUE(known.contains(text)) << "without German: " << text;
    std::set<std::string> listed = fnListTables();
    listed.insert({"&No", "&Yes", "Cancel", "Close", "Discard", "OK", "Reset", "Save"}); // Qt's own
    for (const std::string& text : known)
        EXPECT_TRUE(found.contains(text) || listed.contains(text)) << "used nowhere: " << text;
}

TEST_F(DarkroomGerman, MenusAndDialogsSpeakIt) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("deutsch.png", 120, 90)));
    for (const QAction* menu : m_pWindow->menuBar()->actions()) {
        std::map<QChar, QString> letters;
        for (const QAction* action : menu->menu()->actions()) {
            const qsizetype at = action->text().indexOf('&');
            if (at < 0)
                continue;
            const QChar letter = action->text().at(at + 1).toLower();
            EXPECT_FALSE(letters.contains(letter))
                << menu->text().toStdString() << ": " << action->text().toStdString() << " and "
                << letters[letter].toStdString();
            letters[letter] = action->text();
        }
    }
    EXPECT_EQ(fnAction("saveAs").text(), "Speichern &unter…");
    fnDo("half");
    EXPECT_EQ(fnAction("undo").text(), "&Rückgängig: Um 180 Grad drehen");
    fnDo("levels", [&](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Tonwerte");
        EXPECT_EQ(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->text(),
                  "Abbrechen");
        fnKeepPicture(dialog, "german-levels");
        dialog.reject();
    });
    fnKeepPicture(*m_pWindow, "german");
    for (const char* id : {"preferences", "saveOptions", "points", "resize", "rotate"})
        fnDo(id, [&](QDialog& dialog) {
            fnKeepPicture(dialog, QString("german-") + id);
            dialog.reject();
        });
    EXPECT_FALSE(m_pWindow->fnOpen(fnPath("fehlt.png")));
    const std::vector<std::string> boxes = fnTakeBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_NE(boxes[0].find("gibt es nicht"), std::string::npos) << boxes[0];
}

TEST_F(DarkroomGerman, TheLanguageIsChosenInThePreferencesAndKept) {
    fnDo("preferences", [&](QDialog& dialog) {
        auto* const box = dialog.findChild<QComboBox*>("language");
        EXPECT_EQ(box->currentData(), "") << "as the system";
        box->setCurrentIndex(box->findData("de"));
        fnAccept(dialog);
    });
    fnRestart();
    fnDo("preferences", [&](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QComboBox*>("language")->currentData(), "de");
        dialog.reject();
    });
    darkroom::fnSetLanguage(*qApp, "en");
    EXPECT_EQ(QObject::tr("Pictures (%1)"), "Pictures (%1)");
    darkroom::fnSetLanguage(*qApp, "de");
    EXPECT_EQ(QObject::tr("Pictures (%1)"), "Bilder (%1)");
}
