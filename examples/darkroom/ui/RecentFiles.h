#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QMenu;
class QSettings;

namespace darkroom {

/// The files opened or saved last, as a menu stored in the host's settings.
class RecentFiles : public QObject {
    Q_OBJECT

public:
    static constexpr int kMax = 8;

    /// @param settings  must outlive this
    RecentFiles(QSettings& settings, QMenu& menu, QObject* parent);

    /// Puts a file first.
    void fnAdd(const QString& path);
    /// Removes a file that can't be opened any more.
    void fnRemove(const QString& path);

Q_SIGNALS:
    void chosen(const QString& path);

private:
    QStringList fnRead() const;
    void fnWrite(const QStringList& files);
    void fnFill();

    QSettings& m_Settings;
    QMenu& m_Menu;
};

} // namespace darkroom
