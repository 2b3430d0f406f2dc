#pragma once

#include <QMap>
#include <QSharedPointer>
#include <QVariant>

#include <span>
#include <typeinfo>

class AccountBase;
class ContentItem;

namespace im::content
{
class Content;
} // namespace im::content

/// The model source type of chat messages, see ModelBaseUtil::getModelSourceTypeString().
constexpr int chatSource = 1;

/// The kinds of media folders, see ModelBaseUtil::getFileTypeString().
namespace FileType
{
enum { Sticker = 1, Image = 2, Voice = 3, Video = 4, Plain = 5, Music = 6 };
}

/// A kind of content has one row: what is to be known of it beside its class.
struct Kind {
    using ItemPointer = QSharedPointer<ContentItem>;
    using ItemMap = QMap<QString, QVariant>;

    /// What becomes of its files: an upload is what a person sends from this device.
    enum Files { None, Shown, Uploaded };

    int type;         ///< a ContentItem::Type
    const char *name; ///< in stored maps
    Files files = None;
    int fileType = FileType::Plain; ///< the folder of its files

    // How its items are made; null for a kind that no map and no record is.

    ItemPointer (*fromMap)(const ItemMap &map, int source, AccountBase *account) = nullptr;
    ItemPointer (*fromRecord)(const im::content::Content &content, int source,
                              AccountBase *account) = nullptr;
    ItemPointer (*copy)(const ContentItem &other) = nullptr; ///< null for another class
    const std::type_info *itemClass = nullptr;

    /// Whether a record may carry what its item has no field for.
    bool (*mayHaveRemainder)(const im::content::Content &content) = nullptr;
    int body = type; ///< the number of the body's field, where it is another kind's

    static std::span<const Kind> all();
    /// Null for a type that there is not.
    static const Kind *find(int type);
};
