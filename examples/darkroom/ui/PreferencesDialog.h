#pragma once

#include <QDialog>
#include <vector>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QWidget;

namespace darkroom {

/// Scratch disks, memory and screen, as stored in the library's settings file, and the number of
/// undo levels and the language, which are the host's. Nothing changes before OK.
class PreferencesDialog : public QDialog {
    Q_OBJECT

public:
    /// @param language  as for fnSetLanguage
    explicit PreferencesDialog(unsigned int levels, QWidget* parent = nullptr,
                               const QString& language = {});

    unsigned int fnGetLevels() const;
    QString fnGetLanguage() const;
    /// Applies the library's part and saves it.
    /// @return 0; -5, with everything applied, when it could not be saved; -1 when memory is
    /// exhausted: whatever reached the settings is applied
    int fnApply() const;

private:
    struct Disk {
        QCheckBox* m_pOn;
        QLineEdit* m_pPath;
        QLabel* m_pFree;
    };

    QWidget* fnMakeMemoryPage(unsigned int levels);
    QWidget* fnMakeScreenPage(const QString& language);
    void fnAddDisk(unsigned int index, QGridLayout& grid);
    void fnBrowse(const Disk& disk);
    /// Why a folder can't hold scratch files; empty when it can, and for no folder.
    static QString fnFindFault(const Disk& disk);
    /// Shows the free space of each disk, and disables OK while one can't be used.
    void fnShowDisks();
    /// Shows the share of the memory in bytes.
    void fnShowShare();

    std::vector<Disk> m_Disks;
    QCheckBox* m_pShareOn = nullptr;
    QSpinBox* m_pShare = nullptr;
    QLabel* m_pShareBytes = nullptr;
    QSpinBox* m_pLevels = nullptr;
    QCheckBox* m_pGammaOn = nullptr;
    QSpinBox* m_pGamma = nullptr;
    QCheckBox* m_pDither = nullptr;
    QComboBox* m_pLanguage = nullptr;
    QPushButton* m_pOk = nullptr;
};

} // namespace darkroom
