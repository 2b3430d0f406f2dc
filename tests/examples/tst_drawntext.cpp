#include "client/window/content/drawntext.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "feeds/feed.h"
#include "feeds/markup.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "protocol/notif.pb.h"

#include <QImage>
#include <QPainter>
#include <QSet>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

constexpr int themeFontSize = 14;
const DrawnText::Colours colours{Qt::red, Qt::blue, Qt::gray, Qt::yellow, Qt::green, Qt::black};

/// The texts of the feeds.
QList<QSharedPointer<ContentItem>> texts()
{
    QList<QSharedPointer<ContentItem>> items;
    for (const QString &name : {u"first-light"_s, u"lakeside"_s}) {
        FeedReader reader(QStringLiteral(FEEDS "/%1.feed").arg(name));
        while (const auto frame = reader.next()) {
            im::notif::MessageCreatedNotif record;
            if (frame->type != im::notif::MESSAGE_CREATED
                || !record.ParseFromArray(frame->record.constData(), int(frame->record.size())))
                continue;
            const im::Message &message = record.message();
            const auto item =
                makeContentItem(message.content(), message.content_format_ver(), 1, nullptr);
            if (item && item->isTextMsg())
                items.append(item);
        }
    }
    return items;
}

QSharedPointer<ContentItem> written(const QString &markup)
{
    im::content::Content content;
    *content.mutable_text() = readMarkup(markup, 1);
    return deserializeContent(content, 1, nullptr);
}

/// As a view asks for an item that was measured.
DrawnText::Request request(ContentItem &item, int maxWidth, int maxRowCount = 0)
{
    item.calcSize(maxWidth, 0, maxRowCount, ContentItem::CONTENT_CHANGED, false);
    DrawnText::Request request;
    request.text = item.content();
    request.blocks = item.textEntity();
    request.width = maxWidth;
    request.pixelSize = themeFontSize;
    request.maxRowCount = maxRowCount;
    return request;
}

/// The colours of the pixels.
QSet<QRgb> painted(const DrawnText &text, bool showsSpoilers)
{
    QImage image(text.size().toSize() + QSize(80, 80), QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.translate(40, 40);
    text.paint(painter, colours, showsSpoilers);
    const auto *pixels = reinterpret_cast<const QRgb *>(image.constBits());
    return {pixels, pixels + image.width() * image.height()};
}

} // namespace

class TestDrawnText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void drawnAsMeasured()
    {
        QSet<int> kinds;
        for (const auto &item : texts()) {
            for (const int maxWidth : {140, 320, 600}) {
                const auto drawn = DrawnText::make(request(*item, maxWidth));
                if (item->type() != ContentItem::Text)
                    continue; // larger, and with room around
                QCOMPARE(int(std::ceil(drawn->size().width())), int(item->contentWidth()));
                QCOMPARE(int(std::ceil(drawn->size().height())), int(item->contentHeight()));
                QCOMPARE(drawn->lineCount(), int(item->lineCount()));
            }
            for (const UserTextBlock &block : item->textEntity())
                kinds.insert(block.type);
        }
        QVERIFY2(kinds.size() >= TextEntityType::Quoted, "the feeds have every kind of entity");
    }

    void elidedAsMeasured()
    {
        const auto item = written(u"word "_s.repeated(400));
        const DrawnText drawn(request(*item, 200, 10));
        QVERIFY(drawn.isElided());
        QCOMPARE(drawn.lineCount(), 10);
        QCOMPARE(int(std::ceil(drawn.size().height())) + 20, int(item->contentHeight()));
    }

    /// What was drawn once is not laid out again, also for another item and in other colours.
    void sharedLayouts()
    {
        const auto first = DrawnText::make(request(*written(u"one **two** three"_s), 300));
        const qint64 made = DrawnText::layoutsMade();
        QCOMPARE(DrawnText::make(request(*written(u"one **two** three"_s), 300)), first);
        QCOMPARE(DrawnText::layoutsMade(), made);
        QVERIFY(DrawnText::make(request(*written(u"one two three"_s), 300)) != first);
        QVERIFY(DrawnText::make(request(*written(u"one __two__ three"_s), 300)) != first);
        QCOMPARE(DrawnText::layoutsMade(), made + 2);

        // Memory stays bounded.
        const std::weak_ptr<const DrawnText> watched =
            DrawnText::make(request(*written(u"old"_s), 90));
        for (int i = 0; i < 400; ++i)
            DrawnText::make(request(*written(QString::number(i) + u"x "_s.repeated(500)), 300));
        QVERIFY(watched.expired());
    }

    void spoilers()
    {
        const auto item = written(u"||secret [link](https://a.example)||"_s);
        const DrawnText text(request(*item, 300));
        for (const QColor colour : {Qt::red, Qt::blue}) {
            QVERIFY(!painted(text, false).contains(colour.rgba()));
            QVERIFY(painted(text, true).contains(colour.rgba()));
        }

        const QPointF end(text.size().width() - 4, text.size().height() / 2);
        const auto typeAt = [&](bool shown) {
            return item->textEntity().at(text.entityAt(end, shown)).type;
        };
        QCOMPARE(typeAt(false), int(TextEntityType::Spoiler));
        QCOMPARE(typeAt(true), int(TextEntityType::Hyperlink));
        QCOMPARE(text.entityAt({-3, 4}, true), -1);
    }

    void folds()
    {
        const auto item =
            written(u"see\n```cpp collapsed\none\ntwo\nthree\nfour\nfive\n```\nend"_s);
        const DrawnText collapsed(request(*item, 300));
        QCOMPARE(collapsed.lineCount(), 5);
        const QPointF inside(20, collapsed.size().height() / 2);
        const DrawnText::Fold *fold = collapsed.foldAt(inside);
        QVERIFY(fold && fold->isCollapsed);
        QVERIFY(!collapsed.foldAt({20, 4}));

        item->setCollapsed(fold->block, false);
        const DrawnText open(request(*item, 300));
        QCOMPARE(open.lineCount(), 7);
        QVERIFY(open.foldAt(inside) && !open.foldAt(inside)->isCollapsed);
        QVERIFY(open.foldAt(inside)->rect.height() > fold->rect.height());
    }
};

QTEST_MAIN(TestDrawnText)
#include "tst_drawntext.moc"
