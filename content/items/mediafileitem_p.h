#pragma once

#include "content/items/fileitem_p.h"
#include "content/items/mediafileitem.h"

template <>
struct Fields<MediaFileItem> {
    using Base = FileItem;

    static constexpr auto wKey = [] { return QStringLiteral("w"); };
    static constexpr auto hKey = [] { return QStringLiteral("h"); };
    static constexpr auto thumbWKey = [] { return QStringLiteral("thumbW"); };
    static constexpr auto thumbHKey = [] { return QStringLiteral("thumbH"); };

    /// A row for the file in a body that has a size and a thumbnail.
    template <auto Source, auto MutableSource>
    struct Sent : Row {
        using File = Fields<FileItem>::Sent<Source, MutableSource>;

        static void readRecord(MediaFileItem &item, const auto &body)
        {
            item.m_w = body.width();
            item.m_h = body.height();
            item.m_thumbW = body.thumb().width();
            item.m_thumbH = body.thumb().height();
            File::readRecord(item, body);
        }
        static void writeRecord(const MediaFileItem &item, auto *body)
        {
            body->set_width(item.m_w);
            body->set_height(item.m_h);
            if (item.hasThumb())
                item.writeThumb(body->mutable_thumb());
            File::writeRecord(item, body);
        }
    };

    static constexpr std::tuple table{
        storedField<&MediaFileItem::m_w, wKey, &MediaFileItem::sizeChanged>,
        storedField<&MediaFileItem::m_h, hKey, &MediaFileItem::sizeChanged>,
        storedField<&MediaFileItem::m_thumbW, thumbWKey, &MediaFileItem::thumbSizeChanged>,
        storedField<&MediaFileItem::m_thumbH, thumbHKey, &MediaFileItem::thumbSizeChanged>,
    };
};

/// The file in the body of a kind, with size and thumbnail.
template <auto Source, auto MutableSource>
inline constexpr Fields<MediaFileItem>::Sent<Source, MutableSource> sentMedia{};
