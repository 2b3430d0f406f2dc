#pragma once

#include "storage/storage_export.h"

#include <QDeadlineTimer>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace storage
{

class Database;

/// One row of a store of values. The value keeps its type through the store.
struct Row {
    QString key;
    QVariant value;
    QString remark = {}; ///< free text beside the value, if the table has a column for it
};

/// Changes of one table that become durable together: all of them or none.
struct Changes {
    bool removeAll = false;   ///< first every row is removed
    QStringList removed = {}; ///< then these rows are
    QList<Row> saved = {};    ///< then these are written, replacing rows of the same key
};

/// The rows of one table of values by key, see SettingStorage and ConfigStorage.
///
/// Copies refer to the same rows, and may outlive the provider.
///
/// Thread: any. A call waits for the disk, up to 2 seconds for another process that writes to the
/// same file, and up to 5 for other threads. A change for which it returns true survives the end of
/// the process at any later moment. Until sync() has returned true, a power cut may undo the last
/// changes, but never others, nor damage the file. While the database is closed, when the disk
/// refuses, and for a value that no row can hold, calls return false (allInfos() an empty list),
/// log one line, and change nothing.
class MODELBASE_STORAGE_EXPORT RowStorage
{
public:
    /// `table` is one of the tables of the database's schema.
    RowStorage(std::shared_ptr<Database> database, const char *table, bool hasRemarks);
    RowStorage(const RowStorage &);
    ~RowStorage();

    /// True if a row can hold the value: an invalid value; numbers, booleans and characters;
    /// QString, QByteArray, QUuid, QUrl; QDate, QTime, QDateTime; points, sizes, rectangles and
    /// lines; QColor; QVariantList, QVariantMap and QVariantHash of these, nested up to 100 levels;
    /// and QList, and QMap and QHash by QString, of any one of these types except QColor.
    /// Everything else is refused: pointers and functions, enumerations and types of the
    /// application, JSON objects, fonts, images.
    static bool isStorable(const QVariant &value);

    /// False while every other call would fail.
    bool isOpen() const;
    /// True when it was open until GlobalStorageProvider::closeAllInCrash().
    bool closedInCrash() const;
    /// In the order in which the keys were first saved. Rows that cannot be read, because they are
    /// damaged or of a type that isStorable() refuses, are omitted, with one log line.
    QList<Row> allInfos() const;
    /// The value of one row; invalid when there is none.
    QVariant value(const QString &key) const;
    /// Writes the row, replacing one of the same key.
    bool save(const Row &row);
    /// Also true when there was no such row.
    bool remove(const QString &key);
    bool removeAll();
    bool apply(const Changes &changes);
    /// The same on a separate thread, waiting for it until `deadline` at most, whatever the disk
    /// does. False then: the changes may still be stored, but not after those of later calls.
    bool apply(const Changes &changes, QDeadlineTimer deadline);
    /// Removed and replaced values are overwritten in the file, but stay readable in its log until
    /// the log is cleared: by removals of all rows, by this, and when the database is closed. Also
    /// true while that is closed. False, with a log line, when another process is reading.
    bool clearLog();
    /// Returns true when no power cut can undo what was saved before. At `deadline` it returns
    /// false and continues in the background; also false when a power cut may undo something. Costs
    /// nothing if nothing was saved since the last time.
    bool sync(QDeadlineTimer deadline = QDeadlineTimer::Forever);

private:
    class Table;
    std::shared_ptr<Table> m_table;
};

} // namespace storage

Q_DECLARE_TYPEINFO(storage::Row, Q_RELOCATABLE_TYPE);
