#pragma once

#include "drawntext.h"

#include "content/contentitem.h"

#include <QPointer>
#include <QQuickItem>

/// Draws a text exactly as its item was measured. Its implicit size is that of the text; code and
/// quote blocks extend DrawnText::overhang pixels beyond its sides.
///
/// The lines are those of the library's own layout, which is made once for all views of the same
/// text; moving, recolouring or recreating a view lays nothing out again.
class MessageText : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(ContentItem *item READ item WRITE setItem NOTIFY itemChanged)
    /// Shown instead of the item's own text, in its size.
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    /// The width in pixels with which the item was measured.
    Q_PROPERTY(int textWidth READ textWidth WRITE setTextWidth NOTIFY textWidthChanged)
    /// The font's pixel size; 0: that of the item's text.
    Q_PROPERTY(int pixelSize READ pixelSize WRITE setPixelSize NOTIFY pixelSizeChanged)
    Q_PROPERTY(int maxRowCount READ maxRowCount WRITE setMaxRowCount NOTIFY maxRowCountChanged)
    /// Centres the lines.
    Q_PROPERTY(bool isCentred READ isCentred WRITE setIsCentred NOTIFY isCentredChanged)
    Q_PROPERTY(bool isElided READ isElided NOTIFY layoutChanged)
    Q_PROPERTY(int lineCount READ lineCount NOTIFY layoutChanged)
    Q_PROPERTY(
        bool showsSpoilers READ showsSpoilers WRITE setShowsSpoilers NOTIFY showsSpoilersChanged)
    Q_PROPERTY(QColor color MEMBER m_color NOTIFY coloursChanged)
    Q_PROPERTY(QColor linkColor MEMBER m_linkColor NOTIFY coloursChanged)
    Q_PROPERTY(QColor mutedColor MEMBER m_mutedColor NOTIFY coloursChanged)
    Q_PROPERTY(QColor codeColor MEMBER m_codeColor NOTIFY coloursChanged)
    Q_PROPERTY(QColor quoteColor MEMBER m_quoteColor NOTIFY coloursChanged)
    Q_PROPERTY(QColor spoilerColor MEMBER m_spoilerColor NOTIFY coloursChanged)

public:
    explicit MessageText(QQuickItem *parent = nullptr);

    ContentItem *item() const { return m_item; }
    void setItem(ContentItem *item);
    const QString &text() const { return m_text; }
    void setText(const QString &text);
    int textWidth() const { return m_textWidth; }
    void setTextWidth(int textWidth);
    int pixelSize() const { return m_pixelSize; }
    void setPixelSize(int pixelSize);
    int maxRowCount() const { return m_maxRowCount; }
    void setMaxRowCount(int maxRowCount);
    bool showsSpoilers() const { return m_showsSpoilers; }
    void setShowsSpoilers(bool showsSpoilers);
    bool isCentred() const { return m_isCentred; }
    void setIsCentred(bool isCentred);
    bool isElided() const;
    int lineCount() const;

Q_SIGNALS:
    void itemChanged();
    void textChanged();
    void textWidthChanged();
    void pixelSizeChanged();
    void maxRowCountChanged();
    void isCentredChanged();
    void showsSpoilersChanged();
    void coloursChanged();
    void layoutChanged();
    /// A link, mention, tag, ... was clicked.
    /// @param type a TextEntityType
    /// @param data the entity's data: for a mention the user's id, for a hyperlink its address
    void activated(int type, const QString &text, const QVariant &data);

protected:
    void componentComplete() override;
    void updatePolish() override;
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void hoverMoveEvent(QHoverEvent *event) override;

private:
    template <typename Value>
    void assign(Value &field, const Value &value, void (MessageText::*changed)());
    DrawnText::Request request() const;
    void layOut();
    void repaint();
    QImage image() const;

    QPointer<ContentItem> m_item;
    QString m_text;
    int m_textWidth = 0;
    int m_pixelSize = 0;
    int m_maxRowCount = 0;
    bool m_isCentred = false;
    bool m_showsSpoilers = false;
    QColor m_color = Qt::black;
    QColor m_linkColor = Qt::blue;
    QColor m_mutedColor = Qt::darkGray;
    QColor m_codeColor = Qt::lightGray;
    QColor m_quoteColor = Qt::blue;
    QColor m_spoilerColor = Qt::gray;
    std::shared_ptr<const DrawnText> m_drawn; // null: nothing to show
    bool m_isPainted = false;
};
