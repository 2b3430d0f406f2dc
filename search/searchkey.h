#pragma once

#include "modelbase_export.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>

/// What somebody looks for: a typed text, and filters that messages must pass as well.
///
/// In the text, all words are wanted, in any order; "several words" in quotes, one after another; a
/// word or phrase after a minus sign must not occur. A quote that is not closed, and a minus sign or
/// quote alone, are taken literally. No text is an error.
///
/// Thread: any; a value.
struct MODELBASE_EXPORT SearchKey {
    Q_GADGET
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(QStringList dialogs MEMBER dialogs)
    Q_PROPERTY(QList<qint64> senders MEMBER senders)
    Q_PROPERTY(QList<int> kinds MEMBER kinds)
    Q_PROPERTY(bool links MEMBER links)
    Q_PROPERTY(bool files MEMBER files)
    Q_PROPERTY(qint64 from MEMBER from)
    Q_PROPERTY(qint64 to MEMBER to)

public:
    QString text;          ///< as typed
    QStringList dialogs;   ///< ids; only messages of these, empty: of all
    QList<qint64> senders; ///< user ids, likewise
    QList<int> kinds;      ///< type codes of contents, likewise
    bool links = false;    ///< only messages with a link
    bool files = false;    ///< only messages with a file
    qint64 from = 0;       ///< the earliest time, in ms; 0: no limit
    qint64 to = 0;         ///< the latest time, in ms; 0: no limit

    /// A word or phrase of the text.
    struct Term {
        QString text;
        bool isExcluded = false;

        bool operator==(const Term &other) const = default;
    };
    /// Each once, and the first 100 only: what a person pastes may be long.
    QList<Term> terms() const;

    /// True when it looks for nothing: white space alone, and no filter.
    Q_INVOKABLE bool isEmpty() const;

    bool operator==(const SearchKey &other) const = default;
};

Q_DECLARE_METATYPE(SearchKey)
