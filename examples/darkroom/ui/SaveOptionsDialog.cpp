#include "examples/darkroom/ui/SaveOptionsDialog.h"

#include "examples/darkroom/ui/Focus.h"
#include "plugins/WebFormats.h"

#include <algorithm>
#include <iterator>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QSettings>
#include <QSpinBox>
#include <span>

namespace darkroom {

namespace {

constexpr const char* kTiffCompressions[] = {QT_TRANSLATE_NOOP("QObject", "LZW"),
                                             QT_TRANSLATE_NOOP("QObject", "Deflate"),
                                             QT_TRANSLATE_NOOP("QObject", "none")};

/// An option of one or two formats: a number, or one of several choices.
struct SaveOption {
    PICTURE_FORMAT m_Formats[2]; ///< that have it
    const char* m_pszKey;        ///< in the settings, and the name of its control
    const char* m_pszName;
    const char* m_pszHint;
    int m_nLow;
    int m_nHigh;
    int (*m_pGet)(const CqPictureOptions& options);
    void (*m_pSet)(CqPictureOptions& options, int value);
    std::span<const char* const> m_Choices = {}; ///< of the values from 0 on; empty: a number
};

const SaveOption kOptions[] = {
    {{PICTURE_JPEG, PICTURE_WEBP},
     "quality",
     QT_TRANSLATE_NOOP("QObject", "&Quality of JPEG and WebP files:"),
     QT_TRANSLATE_NOOP(
         "QObject",
         "From 1 to 100: lower is smaller, and loses more. A WebP of 100 loses nothing."),
     1,
     100,
     [](const CqPictureOptions& options) { return static_cast<int>(options.m_nQuality); },
     [](CqPictureOptions& options, int value) {
         options.m_nQuality = static_cast<unsigned int>(value);
     }},
    {{PICTURE_PNG, PICTURE_PNG},
     "pngCompression",
     QT_TRANSLATE_NOOP("QObject", "&Compression of PNG files:"),
     QT_TRANSLATE_NOOP("QObject",
                       "From 0 to 9: higher is smaller, and takes longer. Nothing is lost."),
     0,
     9,
     [](const CqPictureOptions& options) { return static_cast<int>(options.m_nPngEffort); },
     [](CqPictureOptions& options, int value) {
         options.m_nPngEffort = static_cast<unsigned int>(value);
     }},
    {{PICTURE_TIFF, PICTURE_TIFF},
     "tiffCompression",
     QT_TRANSLATE_NOOP("QObject", "Compression of &TIFF files:"),
     QT_TRANSLATE_NOOP("QObject", "Nothing is lost."),
     0,
     2,
     [](const CqPictureOptions& options) { return static_cast<int>(options.m_eTiffCompression); },
     [](CqPictureOptions& options, int value) {
         options.m_eTiffCompression = static_cast<PICTURE_COMPRESSION>(value);
     },
     kTiffCompressions},
};

bool fnIsOf(const SaveOption& option, PICTURE_FORMAT format) {
    return option.m_Formats[0] == format || option.m_Formats[1] == format;
}

} // namespace

CqPictureOptions fnReadSaveOptions(const QSettings& settings) {
    CqPictureOptions options;
    for (const SaveOption& option : kOptions) {
        // Anybody may have edited the settings file.
        bool known = false;
        const int value = settings.value(option.m_pszKey).toInt(&known);
        if (known && value >= option.m_nLow && value <= option.m_nHigh)
            option.m_pSet(options, value);
    }
    return options;
}

void fnKeepSaveOptions(QSettings& settings, const CqPictureOptions& options) {
    for (const SaveOption& option : kOptions)
        settings.setValue(option.m_pszKey, option.m_pGet(options));
}

SaveOptionsDialog::SaveOptionsDialog(const CqPictureOptions& start,
                                     std::optional<PICTURE_FORMAT> format, QWidget* parent)
    : QDialog(parent), m_Start(start) {
    setWindowTitle(tr("Saving Options"));
    auto* const form = new QFormLayout(this);
    for (const SaveOption& option : kOptions) {
        if (format && !fnIsOf(option, *format))
            continue;
        const int value = option.m_pGet(start);
        if (option.m_Choices.empty()) {
            auto* const box = new QSpinBox;
            box->setObjectName(option.m_pszKey);
            box->setRange(option.m_nLow, option.m_nHigh);
            box->setValue(value);
            form->addRow(QObject::tr(option.m_pszName), box);
            m_Readers.emplace_back([box, set = option.m_pSet](CqPictureOptions& options) {
                set(options, box->value());
            });
        } else {
            auto* const box = new QComboBox;
            box->setObjectName(option.m_pszKey);
            for (const char* choice : option.m_Choices)
                box->addItem(QObject::tr(choice));
            box->setCurrentIndex(value);
            form->addRow(QObject::tr(option.m_pszName), box);
            m_Readers.emplace_back([box, set = option.m_pSet](CqPictureOptions& options) {
                set(options, box->currentIndex());
            });
        }
        form->addRow(QString(), new QLabel(QObject::tr(option.m_pszHint)));
    }
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    fnFocusFirst(*this);
}

bool SaveOptionsDialog::fnHasAny(PICTURE_FORMAT format) {
    return std::any_of(std::begin(kOptions), std::end(kOptions),
                       [format](const SaveOption& option) { return fnIsOf(option, format); });
}

CqPictureOptions SaveOptionsDialog::fnGetOptions() const {
    CqPictureOptions options = m_Start;
    for (const auto& read : m_Readers)
        read(options);
    return options;
}

} // namespace darkroom
