#pragma once

#include <QAbstractListModel>
#include <QStringList>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

/// The last lines of the log file, as they are written; a line is "display".
class LogModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString file READ file NOTIFY read)
    Q_PROPERTY(int count READ count NOTIFY read)

public:
    explicit LogModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    int count() const { return int(m_lines.size()); }
    static QString file();

Q_SIGNALS:
    void read();

private:
    void readOn();

    QStringList m_lines;
    qint64 m_position = 0; // in the file, read so far
    QTimer m_timer;
};
