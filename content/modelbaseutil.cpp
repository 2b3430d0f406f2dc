#include "content/modelbaseutil.h"

#include "base/undying.h"
#include "base/usertextblock.h"
#include "base/util.h"
#include "core/mediafolders_p.h"

#include <QHash>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace ModelBaseUtil
{
namespace
{

struct NamedCode {
    int code;
    QLatin1String name;
};

constexpr NamedCode messageTypes[] = {
    {1, "text"_L1},
    {2, "image"_L1},
    {3, "audio"_L1},
    {4, "music"_L1},
    {5, "video"_L1},
    {6, "file"_L1},
    {7, "sticker"_L1},
    {8, "card"_L1},
    {9, "location"_L1},
    {10, "system"_L1},
    {11, "call"_L1},
    {12, "meeting"_L1},
    {13, "poll"_L1},
    {14, "lottery"_L1},
    {15, "combined"_L1},
    {500, "folder"_L1},
    {501, "mediagroup"_L1},
    {502, "filegroup"_L1},
    {2008, "invalidlottery"_L1},
    {2009, "invalidpoll"_L1},
};

QStringList words(const QString &text)
{
    return text.split(u' ');
}

} // namespace

QString messageTypeIntToStr(int type)
{
    static const auto &names = undying([] {
        QHash<int, QString> result;
        for (const NamedCode &row : messageTypes)
            result.insert(row.code, row.name);
        return result;
    }());
    return names.value(type);
}

int messageTypeStrToInt(const QString &name)
{
    static const auto &codes = undying([] {
        QHash<QString, int> result;
        for (const NamedCode &row : messageTypes)
            result.insert(row.name, row.code);
        // Combined messages are made of their parts and never rebuilt from a stored name.
        result.remove(QStringLiteral("combined"));
        return result;
    }());
    return codes.value(name);
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
    static const auto &fileTypes =
        undying(QHash<int, int>{{2, 2}, {3, 3}, {4, 6}, {5, 4}, {6, 5}, {7, 1}, {500, 5}});
    return fileTypes.value(type, 5);
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
    static const auto &set = undying(QSet<int>{2, 3, 5, 6, 4, 7, 8, 9, 500});
    return set;
}

const QSet<int> &uploadTypes()
{
    static const auto &set = undying(QSet<int>{2, 3, 5, 6, 4, 500});
    return set;
}

const QSet<int> &typingTypes()
{
    static const auto &set = undying(QSet<int>{1, 2, 3, 5, 6, 4, 500});
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
