#pragma once

#include "plugins/PictureTypes.h"

#include <functional>
#include <optional>
#include <QDialog>
#include <vector>

class QSettings;

namespace darkroom {

/// The options with which the user has saved last; the usual ones where the settings hold none, or
/// no valid ones.
CqPictureOptions fnReadSaveOptions(const QSettings& settings);
void fnKeepSaveOptions(QSettings& settings, const CqPictureOptions& options);

/// Asks how files are written: quality and compression, as far as the format has them.
class SaveOptionsDialog : public QDialog {
    Q_OBJECT

public:
    /// @param format  whose options are asked; none: those of all formats
    SaveOptionsDialog(const CqPictureOptions& start, std::optional<PICTURE_FORMAT> format,
                      QWidget* parent = nullptr);

    /// Whether there is anything to ask about a format.
    static bool fnHasAny(PICTURE_FORMAT format);
    CqPictureOptions fnGetOptions() const;

private:
    CqPictureOptions m_Start;
    std::vector<std::function<void(CqPictureOptions&)>> m_Readers;
};

} // namespace darkroom
