#include "content/modelbaseutil.h"

#include "base/undying.h"
#include "base/usertextblock.h"
#include "base/util.h"
#include "content/contentitem.h"
#include "content/kinds_p.h"
#include "core/mediafolders_p.h"

#include <QRegularExpression>

namespace ModelBaseUtil
{
namespace
{

template <typename Matches>
QSet<int> typesOf(Matches matches)
{
    QSet<int> types;
    for (const Kind &kind : Kind::all()) {
        if (matches(kind))
            types.insert(kind.type);
    }
    return types;
}

QStringList words(const QString &text)
{
    return text.split(u' ');
}

} // namespace

QString messageTypeIntToStr(int type)
{
    const Kind *kind = Kind::find(type);
    return kind ? QString::fromLatin1(kind->name) : QString();
}

int messageTypeStrToInt(const QString &name)
{
    for (const Kind &kind : Kind::all()) {
        // Combined messages are made of their parts and never rebuilt from a stored name.
        if (kind.type != ContentItem::Combined && name == QLatin1StringView(kind.name))
            return kind.type;
    }
    return 0;
}

QString getFileTypeString(int fileType)
{
    return MediaFolders::ofFileType(fileType);
}

QString getModelSourceTypeString(int sourceType)
{
    return MediaFolders::ofSource(sourceType);
}

int getMsgTypeToFileType(int type)
{
    const Kind *kind = Kind::find(type);
    return kind ? kind->fileType : FileType::Plain;
}

const QList<QString> &imageFormat()
{
    static const auto &list =
        undying(words(QStringLiteral("jpg png jpeg bmp svg gif webp tiff heic")));
    return list;
}

const QList<QString> &staticStickerFormat()
{
    static const auto &list = undying(words(QStringLiteral("jpg png jpeg bmp webp tiff")));
    return list;
}

const QList<QString> &animateStickerFormat()
{
    static const auto &list = undying(words(QStringLiteral("mp4 mov rmvb gif")));
    return list;
}

const QList<QString> &audioFormat()
{
    static const auto &list = undying(words(QStringLiteral("mp3 aac ogg wav ac3 wma m4r mp2")));
    return list;
}

const QList<QString> &videoFormat()
{
    static const auto &list =
        undying(words(QStringLiteral("mp4 avi mov rmvb rm flv 3gp mpeg wma mkv wmv m4v")));
    return list;
}

const QList<QString> &wallpaperFormat()
{
    static const auto &list = undying(words(QStringLiteral("jpg png jpeg bmp svg webp tiff")));
    return list;
}

const QSet<int> &allFileTypes()
{
    static const auto &set =
        undying(typesOf([](const Kind &kind) { return kind.files != Kind::None; }));
    return set;
}

const QSet<int> &uploadTypes()
{
    static const auto &set =
        undying(typesOf([](const Kind &kind) { return kind.files == Kind::Uploaded; }));
    return set;
}

const QSet<int> &typingTypes()
{
    static const auto &set = undying(uploadTypes() | QSet<int>{ContentItem::Text});
    return set;
}

bool isFileType(int type)
{
    return allFileTypes().contains(type);
}

bool isNeedUploadType(int type)
{
    return uploadTypes().contains(type);
}

const QRegularExpression *getRegular(int entityType)
{
    switch (entityType) {
    case TextEntityType::Url:
        return &Util::getRegularUrl();
    case TextEntityType::Email:
        return &Util::getRegularEmail();
    case TextEntityType::MentionImId:
        return &Util::getRegularImId();
    case TextEntityType::PhoneNumber:
        return &Util::getRegularPhoneNumber();
    case TextEntityType::HashTag:
        return &Util::getRegularHashTag();
    case TextEntityType::BotCommand:
        return &Util::getRegularBotCmd();
    case TextEntityType::VideoPosition:
        return &Util::getRegularTime();
    default:
        return nullptr;
    }
}

int dayOfWeekToFlag(int day)
{
    return day >= 1 && day <= 7 ? 1 << (day - 1) : 0;
}

int flagToDayOfWeek(int flag)
{
    for (int day = 1; day <= 7; ++day) {
        if (dayOfWeekToFlag(day) == flag)
            return day;
    }
    return 0;
}

QString makeMediaPath(const QString &base, int sourceType, int fileType)
{
    return MediaFolders::path(base, sourceType, fileType);
}

} // namespace ModelBaseUtil
