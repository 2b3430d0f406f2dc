#pragma once

#include "base/drawabletextbase.h"

#include <QColor>
#include <QRectF>

#include <memory>
#include <vector>

class QPainter;

/// A text that is laid out and ready to be drawn, with its entities. Shared by all views that show
/// the same text at the same width; a bounded cache keeps the most recent ones.
class DrawnText
{
public:
    /// The parameters of a layout: everything that its lines depend on.
    struct Request {
        QString text;
        UserTextBlocks blocks;
        int width = 0;       ///< pixels to wrap at
        int pixelSize = 0;   ///< of the font
        int rowLimit = 0;    ///< see DrawableTextBase::calculateSize()
        int maxRowCount = 0; ///< likewise
        bool isEmojiOnly = false;
        bool isCentred = false;

        bool operator==(const Request &other) const = default;
    };

    struct Colours {
        QColor text;
        QColor link;
        QColor muted; ///< the fold marks
        QColor codeBackground;
        QColor quoteBar;
        QColor spoiler;
    };

    /// A code or quote block.
    struct Fold {
        int block = 0; ///< its index
        int type = 0;
        QRectF rect; ///< from the text's left to its right edge
        bool isCollapsed = false;
        bool canFold = false; ///< it has more lines than when collapsed
    };

    /// How far blocks extend beyond the text on its left and right, in pixels.
    static constexpr int overhang = 10;

    /// The text from the cache, or laid out now.
    static std::shared_ptr<const DrawnText> make(const Request &request);
    /// The number of layouts made since the program began.
    static qint64 layoutsMade();

    explicit DrawnText(const Request &request);

    QSizeF size() const { return m_layout.measured.size; }
    int lineCount() const { return m_layout.measured.lineCount; }
    bool isElided() const { return m_layout.measured.elided; }

    /// Draws with the text's top left corner at the painter's origin.
    void paint(QPainter &painter, const Colours &colours, bool showsSpoilers) const;

    /// The index of the clickable entity at a point (a covered spoiler, a link); -1: none.
    int entityAt(QPointF point, bool showsSpoilers) const;
    /// The code or quote block at a point; null: none.
    const Fold *foldAt(QPointF point) const;

private:
    enum Style { Link, Underlined, Struck, Mono, Covered, StyleCount };
    /// A range of the text with one appearance.
    struct Run {
        qsizetype from = 0;
        qsizetype end = 0;
        unsigned styles = 0; ///< bits 1 << Style
    };
    using Line = DrawableTextBase::Layout::Line;

    void makeRuns();
    void makeFolds();
    void paintRun(QPainter &painter, const Line &line, const Run &run, const Colours &colours,
                  bool showsSpoilers) const;
    void paintFold(QPainter &painter, const Fold &fold, const Colours &colours) const;
    void paintPicture(QPainter &painter, const Line &line,
                      const DrawableTextBase::Layout::Picture &picture,
                      const Colours &colours) const;
    bool isPicture(qsizetype at) const;

    UserTextBlocks m_blocks;
    QString m_text;
    int m_pixelSize;
    DrawableTextBase::Layout m_layout;
    std::vector<Run> m_runs; ///< sorted; they cover the whole text
    std::vector<Fold> m_folds;
};

size_t qHash(const DrawnText::Request &request, size_t seed = 0);
