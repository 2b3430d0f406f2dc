#include "drawntext.h"

#include "content/contentmetrics.h"

#include <QCache>
#include <QGlyphRun>
#include <QPainter>
#include <QPainterPath>
#include <QRawFont>

#include <algorithm>
#include <array>
#include <cmath>

namespace
{

qint64 layoutCount = 0;

/// The capacity of the cache, in code units of text; a layout takes some hundred bytes for each.
constexpr qsizetype cacheSize = 150'000;
/// The cost of an entry besides its text.
constexpr qsizetype entryCost = 100;

using Cache = QCache<DrawnText::Request, std::shared_ptr<const DrawnText>>;

Cache &cache()
{
    static Cache texts(cacheSize);
    return texts;
}

bool isLink(int type)
{
    switch (type) {
    case TextEntityType::Url:
    case TextEntityType::Email:
    case TextEntityType::MentionName:
    case TextEntityType::MentionImId:
    case TextEntityType::PhoneNumber:
    case TextEntityType::HashTag:
    case TextEntityType::Hyperlink:
    case TextEntityType::BotCommand:
    case TextEntityType::VideoPosition:
        return true;
    default:
        return false;
    }
}

bool isFoldable(int type)
{
    return type == TextEntityType::CodeBlock || type == TextEntityType::Quoted;
}

QRectF lineRect(const QTextLine &line)
{
    return {line.x(), line.y(), line.naturalTextWidth(), line.height()};
}

/// A small arrow head that points down (there is more) or up.
void paintArrow(QPainter &painter, QPointF centre, bool down)
{
    const double half = 3;
    const double tip = down ? half / 2 : -half / 2;
    const std::array<QPointF, 3> points{centre + QPointF(-half, -tip), centre + QPointF(0, tip),
                                        centre + QPointF(half, -tip)};
    painter.drawPolyline(points.data(), int(points.size()));
}

} // namespace

size_t qHash(const DrawnText::Request &request, size_t seed)
{
    return qHashMulti(seed, request.text, request.blocks.size(), request.width, request.pixelSize,
                      request.maxRowCount);
}

std::shared_ptr<const DrawnText> DrawnText::make(const Request &request)
{
    if (const auto *known = cache().object(request))
        return *known;
    auto made = std::make_shared<const DrawnText>(request);
    cache().insert(request, new std::shared_ptr<const DrawnText>(made),
                   request.text.size() + entryCost);
    return made;
}

qint64 DrawnText::layoutsMade()
{
    return layoutCount;
}

DrawnText::DrawnText(const Request &request)
    : m_blocks(request.blocks), m_text(request.text), m_pixelSize(request.pixelSize),
      m_layout(DrawableTextBase::layOut(
          request.text, request.width, ContentMetrics::textFont(request.pixelSize),
          request.maxRowCount, 0.0, request.rowLimit, request.blocks, true, !request.isEmojiOnly,
          ContentMetrics::elisionTolerance(request.maxRowCount)))
{
    ++layoutCount;
    if (request.isCentred) {
        for (Line &line : m_layout.lines) {
            const double spare = size().width() - line.line.naturalTextWidth();
            line.line.setPosition({spare / 2, line.line.y()});
        }
    }
    makeRuns();
    makeFolds();
}

/// Splits the entities, which may overlap in any way, into runs.
void DrawnText::makeRuns()
{
    struct Edge {
        qsizetype at;
        Style style;
        int step;
    };
    std::vector<Edge> edges;
    for (const UserTextBlock &block : std::as_const(m_blocks)) {
        const auto [from, len] = block.clampedTo(m_text.size());
        const auto add = [&, first = m_layout.shownAt(from),
                          last = m_layout.shownAt(from + len)](Style style) {
            edges.push_back({first, style, 1});
            edges.push_back({last, style, -1});
        };
        if (isLink(block.type))
            add(Link);
        else if (block.type == TextEntityType::Underline)
            add(Underlined);
        else if (block.type == TextEntityType::Strikethrough)
            add(Struck);
        else if (block.type == TextEntityType::Monospace)
            add(Mono);
        else if (block.type == TextEntityType::Spoiler)
            add(Covered);
    }
    edges.push_back({m_layout.text.size(), StyleCount, 0}); // the end
    std::stable_sort(edges.begin(), edges.end(),
                     [](const Edge &a, const Edge &b) { return a.at < b.at; });

    std::array<int, StyleCount + 1> open{};
    Run run;
    for (const Edge &edge : edges) {
        if (edge.at > run.from) {
            run.end = edge.at;
            m_runs.push_back(run);
            run.from = edge.at;
        }
        open[edge.style] += edge.step;
        run.styles = 0;
        for (unsigned style = 0; style < StyleCount; ++style)
            run.styles |= unsigned(open[style] > 0) << style;
    }
}

void DrawnText::makeFolds()
{
    for (int i = 0; i < m_blocks.size(); ++i) {
        const UserTextBlock &block = m_blocks[i];
        const auto [from, len] = block.clampedTo(m_text.size());
        if (!isFoldable(block.type) || len == 0)
            continue;
        Fold fold;
        fold.block = i;
        fold.type = block.type;
        fold.isCollapsed = block.data.toMap().value(QStringLiteral("collapsed")).toBool();
        const qsizetype first = m_layout.shownAt(from);
        const qsizetype last = m_layout.shownAt(from + len);
        int lines = 0;
        for (const Line &line : m_layout.lines) {
            const qsizetype start = line.offset + line.line.textStart();
            if (start < first || start >= last)
                continue;
            const QRectF rect(0, line.line.y(), size().width(), line.line.height());
            fold.rect = fold.rect.isNull() ? rect : fold.rect.united(rect);
            ++lines;
        }
        if (lines == 0)
            continue;
        fold.canFold = fold.isCollapsed || lines > DrawableTextBase::collapsedRowCount;
        m_folds.push_back(fold);
    }
}

bool DrawnText::isPicture(qsizetype at) const
{
    return std::any_of(m_layout.pictures.begin(), m_layout.pictures.end(),
                       [at](const auto &picture) { return picture.at == at; });
}

void DrawnText::paint(QPainter &painter, const Colours &colours, bool showsSpoilers) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    for (const Fold &fold : m_folds)
        paintFold(painter, fold, colours);
    auto firstRun = m_runs.begin();
    auto picture = m_layout.pictures.begin();
    for (const Line &line : m_layout.lines) {
        const qsizetype from = line.offset + line.line.textStart();
        const qsizetype end = from + line.line.textLength();
        while (firstRun != m_runs.end() && firstRun->end <= from)
            ++firstRun;
        while (picture != m_layout.pictures.end() && picture->at < from)
            ++picture;
        for (auto run = firstRun; run != m_runs.end() && run->from < end; ++run) {
            Run part{std::max(run->from, from), std::min(run->end, end), run->styles};
            // The placeholder letters of pictures are skipped.
            for (; picture != m_layout.pictures.end() && picture->at < part.end; ++picture) {
                const bool isCovered = !showsSpoilers && (part.styles & 1U << Covered);
                if (isCovered)
                    continue;
                paintRun(painter, line, {part.from, picture->at, part.styles}, colours,
                         showsSpoilers);
                paintPicture(painter, line, *picture, colours);
                part.from = picture->at + 1;
            }
            paintRun(painter, line, part, colours, showsSpoilers);
        }
    }
}

void DrawnText::paintRun(QPainter &painter, const Line &line, const Run &run,
                         const Colours &colours, bool showsSpoilers) const
{
    if (run.from >= run.end)
        return;
    const bool isCovered = !showsSpoilers && (run.styles & 1U << Covered);
    const auto glyphs = line.line.glyphRuns(int(run.from - line.offset), int(run.end - run.from));
    painter.setPen(run.styles & 1U << Link ? colours.link : colours.text);
    for (const QGlyphRun &glyphRun : glyphs) {
        const QRectF extent = glyphRun.boundingRect();
        const QRectF box(extent.x(), line.line.y() + 1, extent.width(), line.line.height() - 2);
        if (isCovered) {
            painter.fillRect(box.toAlignedRect(), colours.spoiler);
            continue;
        }
        if (run.styles & 1U << Mono) {
            QPainterPath background;
            background.addRoundedRect(box.adjusted(-2, 0, 2, 0), 3, 3);
            painter.fillPath(background, colours.codeBackground);
        }
        painter.drawGlyphRun({0, 0}, glyphRun);
        const QRawFont font = glyphRun.rawFont();
        const double baseline = line.line.y() + line.line.ascent();
        const double thickness = std::max(1.0, font.lineThickness());
        const auto rule = [&](double y) {
            painter.fillRect(QRectF(extent.x(), std::round(y), extent.width(), thickness),
                             painter.pen().color());
        };
        if (run.styles & 1U << Underlined)
            rule(baseline + font.underlinePosition());
        if (run.styles & 1U << Struck)
            rule(baseline - font.xHeight() / 2);
    }
}

void DrawnText::paintFold(QPainter &painter, const Fold &fold, const Colours &colours) const
{
    const double side = overhang - 2;
    const QRectF box = fold.rect.adjusted(-side, 0, side, 0);
    QPainterPath shape;
    shape.addRoundedRect(box, 4, 4);
    painter.fillPath(shape, colours.codeBackground);
    if (fold.type == TextEntityType::Quoted) {
        QPainterPath bar;
        bar.addRoundedRect(QRectF(box.left(), box.top(), 3, box.height()), 1.5, 1.5);
        painter.fillPath(bar, colours.quoteBar);
    }
    if (fold.canFold) {
        painter.setPen(QPen(colours.muted, 1.5));
        paintArrow(painter, {box.right() - 5, box.bottom() - 7}, fold.isCollapsed);
    }
}

/// Until the application has the picture: draws the text that it stands for, in a box of its size.
void DrawnText::paintPicture(QPainter &painter, const Line &line,
                             const DrawableTextBase::Layout::Picture &picture,
                             const Colours &colours) const
{
    const int at = int(picture.at - line.offset);
    const double x = line.line.cursorToX(at);
    const double other = line.line.cursorToX(at + 1);
    const QRectF box =
        QRectF(std::min(x, other), line.line.y(), std::abs(other - x), line.line.height())
            .adjusted(1, 1, -1, -1);
    QPainterPath shape;
    shape.addRoundedRect(box, 4, 4);
    painter.fillPath(shape, colours.codeBackground);
    const auto [from, len] = m_blocks[picture.block].clampedTo(m_text.size());
    painter.setFont(ContentMetrics::textFont(m_pixelSize * 4 / 5));
    painter.setPen(colours.text);
    painter.drawText(box, Qt::AlignCenter, m_text.mid(from, len));
}

int DrawnText::entityAt(QPointF point, bool showsSpoilers) const
{
    for (const Line &line : m_layout.lines) {
        if (!lineRect(line.line).contains(point))
            continue;
        const qsizetype at =
            line.offset + line.line.xToCursor(point.x(), QTextLine::CursorOnCharacter);
        int found = -1;
        for (int i = 0; i < m_blocks.size(); ++i) {
            const UserTextBlock &block = m_blocks[i];
            const auto [from, len] = block.clampedTo(m_text.size());
            if (at < m_layout.shownAt(from) || at >= m_layout.shownAt(from + len))
                continue;
            // A covered link cannot be followed.
            if (block.type == TextEntityType::Spoiler && !showsSpoilers)
                return i;
            if (isLink(block.type))
                found = i;
        }
        return found;
    }
    return -1;
}

const DrawnText::Fold *DrawnText::foldAt(QPointF point) const
{
    for (const Fold &fold : m_folds) {
        if (fold.canFold && fold.rect.adjusted(-overhang, 0, overhang, 0).contains(point))
            return &fold;
    }
    return nullptr;
}
