#pragma once

#include "client/window/messagelistmodel.h"

#include <QPointer>
#include <QQmlComponent>
#include <QQuickItem>

#include <unordered_map>
#include <vector>

/// The rows of a long history that are in view.
///
/// Every row's height is known, so rows have a position without being created: this item is as high
/// as all of them, and has bubbles only for those between `viewTop` and `viewTop` + `viewHeight`. A
/// bubble that leaves the view is parked for the next row of its kind of content, so that scrolling
/// creates no objects once each kind was seen. All changes are applied once a frame.
class MessageRows : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(MessageListModel *model READ model WRITE setModel NOTIFY modelChanged)
    /// Makes a bubble: an Item with a property `message` of the type messageRow. Set once.
    Q_PROPERTY(QQmlComponent *bubble MEMBER m_bubble NOTIFY bubbleChanged)
    /// The first visible pixel, and the height of the view.
    Q_PROPERTY(double viewTop MEMBER m_viewTop WRITE setViewTop NOTIFY viewChanged)
    Q_PROPERTY(double viewHeight MEMBER m_viewHeight WRITE setViewHeight NOTIFY viewChanged)
    /// The visible rows, as of the last frame; -1: none.
    Q_PROPERTY(int first READ first NOTIFY rowsChanged)
    Q_PROPERTY(int last READ last NOTIFY rowsChanged)

public:
    explicit MessageRows(QQuickItem *parent = nullptr);
    ~MessageRows() override;

    MessageListModel *model() const { return m_model; }
    void setModel(MessageListModel *model);
    void setViewTop(double viewTop);
    void setViewHeight(double viewHeight);
    int first() const { return m_first; }
    int last() const { return m_last; }

Q_SIGNALS:
    void modelChanged();
    void bubbleChanged();
    void viewChanged();
    void rowsChanged();

protected:
    void updatePolish() override;
    void geometryChange(const QRectF &now, const QRectF &before) override;

private:
    struct Bubble {
        QQuickItem *item; ///< null when it cannot be made
        int kind;         ///< a ContentItem::Type; -1: cannot be shown
        MessageRow message;
    };

    Bubble take(int kind, const MessageRow &message);
    void park(const Bubble &bubble);
    void show(int row);

    QPointer<MessageListModel> m_model;
    QPointer<QQmlComponent> m_bubble;
    std::unordered_map<int, Bubble> m_shown;               // by the row's constant number
    std::unordered_map<int, std::vector<Bubble>> m_parked; // by kind
    double m_viewTop = 0;
    double m_viewHeight = 0;
    int m_first = -1;
    int m_last = -1;
};
