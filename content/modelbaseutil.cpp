#include "content/modelbaseutil.h"

#include "base/undying.h"
#include "base/usertextblock.h"
#include "base/util.h"

#include <QHash>
#include <QRegularExpression>

namespace ModelBaseUtil
{
namespace
{

struct NamedCode {
    int code;
    QString name;
};

const QList<NamedCode> &messageTypes()
{
    static const auto &table = undying(QList<NamedCode>{
        {1, QStringLiteral("text")},
        {2, QStringLiteral("image")},
        {3, QStringLiteral("audio")},
        {4, QStringLiteral("music")},
        {5, QStringLiteral("video")},
        {6, QStringLiteral("file")},
        {7, QStringLiteral("sticker")},
        {8, QStringLiteral("card")},
        {9, QStringLiteral("location")},
        {10, QStringLiteral("system")},
        {11, QStringLiteral("call")},
        {12, QStringLiteral("meeting")},
        {13, QStringLiteral("poll")},
        {14, QStringLiteral("lottery")},
        {15, QStringLiteral("combined")},
        {500, QStringLiteral("folder")},
        {501, QStringLiteral("mediagroup")},
        {502, QStringLiteral("filegroup")},
        {2008, QStringLiteral("invalidlottery")},
        {2009, QStringLiteral("invalidpoll")},
    });
    return table;
}

} // namespace

QString messageTypeIntToStr(int type)
{
    static const auto &names = undying([] {
        QHash<int, QString> result;
        for (const NamedCode &row : messageTypes())
            result.insert(row.code, row.name);
        return result;
    }());
    return names.value(type);
}

int messageTypeStrToInt(const QString &name)
{
    static const auto &codes = undying([] {
        QHash<QString, int> result;
        for (const NamedCode &row : messageTypes())
            result.insert(row.name, row.code);
        // Combined messages are made of their parts and never rebuilt from a stored name.
        result.remove(QStringLiteral("combined"));
        return result;
    }());
    return codes.value(name);
}

QString getFileTypeString(int fileType)
{
    static const auto &names = undying(QHash<int, QString>{
        {0, QStringLiteral("photo")},
        {1, QStringLiteral("sticker")},
        {2, QStringLiteral("image")},
        {3, QStringLiteral("audio")},
        {4, QStringLiteral("video")},
        {5, QStringLiteral("file")},
        {6, QStringLiteral("music")},
        {11, QStringLiteral("sticker")},
        {13, QStringLiteral("messagefile")},
    });
    return names.value(fileType);
}

QString getModelSourceTypeString(int sourceType)
{
    // Ordinary chat media (1) have no name: they lie directly below the base folder.
    static const auto &names = undying(QHash<int, QString>{
        {2, QStringLiteral("notebook")},
        {4, QStringLiteral("clouddrive")},
        {8, QStringLiteral("reminder")},
        {16, QStringLiteral("wallpaper")},
        {32, QStringLiteral("ringtone")},
        {128, QStringLiteral("quickreply")},
        {256, QStringLiteral("schedule")},
    });
    return names.value(sourceType);
}

int getMsgTypeToFileType(int type)
{
    static const auto &fileTypes =
        undying(QHash<int, int>{{2, 2}, {3, 3}, {4, 6}, {5, 4}, {6, 5}, {7, 1}, {500, 5}});
    return fileTypes.value(type, 5);
}

const QList<QString> &imageFormat()
{
    static const auto &list = undying(QList<QString>{
        QStringLiteral("jpg"),
        QStringLiteral("png"),
        QStringLiteral("jpeg"),
        QStringLiteral("bmp"),
        QStringLiteral("svg"),
        QStringLiteral("gif"),
        QStringLiteral("webp"),
        QStringLiteral("tiff"),
        QStringLiteral("heic"),
    });
    return list;
}

const QList<QString> &staticStickerFormat()
{
    static const auto &list = undying(QList<QString>{
        QStringLiteral("jpg"),
        QStringLiteral("png"),
        QStringLiteral("jpeg"),
        QStringLiteral("bmp"),
        QStringLiteral("webp"),
        QStringLiteral("tiff"),
    });
    return list;
}

const QList<QString> &animateStickerFormat()
{
    static const auto &list = undying(QList<QString>{
        QStringLiteral("mp4"),
        QStringLiteral("mov"),
        QStringLiteral("rmvb"),
        QStringLiteral("gif"),
    });
    return list;
}

const QList<QString> &audioFormat()
{
    static const auto &list = undying(QList<QString>{
        QStringLiteral("mp3"),
        QStringLiteral("aac"),
        QStringLiteral("ogg"),
        QStringLiteral("wav"),
        QStringLiteral("ac3"),
        QStringLiteral("wma"),
        QStringLiteral("m4r"),
        QStringLiteral("mp2"),
    });
    return list;
}

const QList<QString> &videoFormat()
{
    static const auto &list = undying(QList<QString>{
        QStringLiteral("mp4"),
        QStringLiteral("avi"),
        QStringLiteral("mov"),
        QStringLiteral("rmvb"),
        QStringLiteral("rm"),
        QStringLiteral("flv"),
        QStringLiteral("3gp"),
        QStringLiteral("mpeg"),
        QStringLiteral("wma"),
        QStringLiteral("mkv"),
        QStringLiteral("wmv"),
        QStringLiteral("m4v"),
    });
    return list;
}

const QList<QString> &wallpaperFormat()
{
    static const auto &list = undying(QList<QString>{
        QStringLiteral("jpg"),
        QStringLiteral("png"),
        QStringLiteral("jpeg"),
        QStringLiteral("bmp"),
        QStringLiteral("svg"),
        QStringLiteral("webp"),
        QStringLiteral("tiff"),
    });
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
    QString path = base;
    for (const QString &folder :
         {getModelSourceTypeString(sourceType), getFileTypeString(fileType)}) {
        if (!folder.isEmpty())
            path += folder + Util::separator();
    }
    return path;
}

} // namespace ModelBaseUtil
