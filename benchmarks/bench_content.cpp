// Message contents: made from protocol bytes and from stored JSON, and what they weigh.

#include "base/json.h"
#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/comparison.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSharedPointer>

#include <malloc.h>

#include <vector>

namespace
{

const std::string text =
    "@Mia @Jonas @Amira @Li, shall we meet at the lake on Saturday? I bring bread and grapes.";

im::content::Content textWithMentions()
{
    im::content::Content content;
    content.mutable_text()->set_text(text);
    const int offsets[] = {0, 5, 12, 19};
    const int lengths[] = {4, 6, 6, 3};
    for (int i = 0; i < 4; ++i) {
        auto *entity = content.mutable_text()->add_textentity();
        entity->set_type(im::content::TextEntity::MENTION_NAME);
        entity->set_offset(offsets[i]);
        entity->set_length(lengths[i]);
        entity->set_mention_user_id(4711 + i);
    }
    return content;
}

void addFactoryRows()
{
    const std::string bytes = textWithMentions().SerializeAsString();
    comparison::add(
        "makeContentItem from protocol bytes, text with 4 mentions", 1.5,
        [bytes](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(makeContentItem(bytes, 2, 1, nullptr));
        },
        [bytes](benchmark::State &state) {
            struct Parts {
                QSharedPointer<QObject> object;
                QString text;
                UserTextBlocks blocks;
            };
            for (auto _ : state) {
                im::content::Content content;
                if (!content.ParseFromString(bytes))
                    state.SkipWithError("no content");
                Parts parts{QSharedPointer<QObject>::create(),
                            QString::fromStdString(content.text().text()),
                            {}};
                parts.blocks.reserve(content.text().textentity_size());
                for (const auto &entity : content.text().textentity()) {
                    parts.blocks.append({entity.offset(), entity.length(), int(entity.type()),
                                         entity.mention_user_id(), false});
                }
                benchmark::DoNotOptimize(parts);
            }
        });

    const auto item = makeContentItem(bytes, 2, 1, nullptr);
    const QByteArray json = mapToJson(serializeContent(item));
    const std::string stored = json.toStdString();
    comparison::add(
        "makeContentItem from stored JSON", 0.7,
        [stored](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(makeContentItem(stored, 1, 1, nullptr));
        },
        [json](benchmark::State &state) {
            for (auto _ : state) {
                const QVariantMap map = QJsonDocument::fromJson(json).object().toVariantMap();
                const QVariantMap first =
                    map.value(QStringLiteral("content")).toList().constFirst().toMap();
                benchmark::DoNotOptimize(
                    QJsonDocument::fromJson(
                        first.value(QStringLiteral("dbEntity")).toString().toUtf8())
                        .array()
                        .toVariantList());
            }
        });
}

/// Bytes that `build` leaves allocated.
template <typename Build>
double allocatedBy(Build build)
{
    const std::size_t before = mallinfo2().uordblks;
    const auto kept = build();
    return double(mallinfo2().uordblks - before);
}

void addMemoryRow()
{
    constexpr int count = 100'000;
    const auto textOf = [](int i) {
        return text + " Message number " + std::to_string(i) + " of a long day.";
    };
    comparison::addBytes(
        "memory of 100,000 text items", 1.5,
        [=] {
            return allocatedBy([&] {
                std::vector<QSharedPointer<ContentItem>> items;
                items.reserve(count);
                im::content::Content content;
                for (int i = 0; i < count; ++i) {
                    content.mutable_text()->set_text(textOf(i));
                    items.push_back(makeContentItem(content.SerializeAsString(), 2, 1, nullptr));
                }
                return items;
            });
        },
        [=] {
            struct BareText : QObject {
                QString text;
            };
            return allocatedBy([&] {
                std::vector<std::unique_ptr<BareText>> items;
                items.reserve(count);
                for (int i = 0; i < count; ++i) {
                    items.push_back(std::make_unique<BareText>());
                    items.back()->text = QString::fromStdString(textOf(i));
                }
                return items;
            });
        });
}

void addRows()
{
    addFactoryRows();
    addMemoryRow();
}

} // namespace

COMPARISON_MAIN(addRows)
