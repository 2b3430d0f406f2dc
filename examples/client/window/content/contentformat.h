#pragma once

#include <QObject>
#include <QSize>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <QUrl>

class ContentItem;

/// Helpers for the views of contents: numbers as text, and the sizes that an item does not measure.
class ContentFormat : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// Lengths, in pixels, besides those of ContentMetrics. The widths are for texts in a font of
    /// 14 pixels and grow with larger ones.
    enum Length {
        CardHeight = 60,
        CardWidth = 240,
        CallHeight = 48,
        CallWidth = 210,
        MeetingHeight = 92,
        MeetingWidth = 230,
        NewerHeight = 44,
        NewerWidth = 300,
        ButtonHeight = 36,
        ButtonSpacing = 4,
        ButtonsWidth = 220,
    };
    Q_ENUM(Length)

    using QObject::QObject;

    /// "1:05", "1:00:05".
    Q_INVOKABLE static QString duration(qint64 seconds);
    /// "10.9 KB"; empty if unknown.
    Q_INVOKABLE static QString bytes(qint64 count);
    /// The URL of a file on this device; empty for an empty path.
    Q_INVOKABLE static QUrl url(const QString &path);
    /// The size of the view above the text, for kinds whose items measure their text only.
    Q_INVOKABLE static QSize headSize(int type, int fontSize, int maxWidth);
    /// The size at which ContentView shows a content.
    /// @param type     of the item, 0 if there is none
    /// @param measured the item's contentWidth and contentHeight
    /// @param buttons  rows of buttons
    /// @param fontSize the theme's, in pixels
    Q_INVOKABLE static QSize shownSize(int type, QSize measured, int buttons, int fontSize,
                                       int maxWidth);
    /// The same for an item, which may be null. A model that keeps the sizes of messages calls this
    /// after ContentItem::calcSize().
    static QSize shownSize(const ContentItem *item, int maxWidth);
};
