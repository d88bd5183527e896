/// @file The darkroom in German.
#pragma once

#include <QTranslator>
#include <span>

class QCoreApplication;

namespace darkroom {

struct GermanText {
    const char* m_pszEnglish; ///< as in the source
    const char* m_pszGerman;  ///< UTF-8
};

/// All texts of the windows and messages, as a table.
std::span<const GermanText> fnGetGermanTexts();

/// Translates the darkroom's own texts, and the buttons of dialogs; others stay as they are.
class German : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char* remark,
                      int number) const override;
};

/// Makes the program speak a language: "de", "en", or for anything else that of the system, if it
/// is one of these, and otherwise English. Windows that exist keep their texts.
void fnSetLanguage(QCoreApplication& application, const QString& language);

} // namespace darkroom
