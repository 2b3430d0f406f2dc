#include "core/mediafolders_p.h"

#include "base/util.h"

#include <algorithm>
#include <span>

using namespace Qt::StringLiterals;

namespace
{

struct Folder {
    int type;
    QLatin1String name;
};

constexpr Folder fileTypes[] = {
    {0, "photo"_L1}, {1, "sticker"_L1}, {2, "image"_L1},    {3, "audio"_L1},        {4, "video"_L1},
    {5, "file"_L1},  {6, "music"_L1},   {11, "sticker"_L1}, {13, "messagefile"_L1},
};

constexpr Folder sourceTypes[] = {
    {2, "notebook"_L1},  {4, "clouddrive"_L1},   {8, "reminder"_L1},   {16, "wallpaper"_L1},
    {32, "ringtone"_L1}, {128, "quickreply"_L1}, {256, "schedule"_L1},
};

QString nameIn(std::span<const Folder> folders, int type)
{
    const auto found = std::ranges::find(folders, type, &Folder::type);
    return found == folders.end() ? QString() : QString(found->name);
}

} // namespace

QString MediaFolders::ofFileType(int fileType)
{
    return nameIn(fileTypes, fileType);
}

QString MediaFolders::ofSource(int sourceType)
{
    return nameIn(sourceTypes, sourceType);
}

QString MediaFolders::path(const QString &base, int sourceType, int fileType)
{
    QString path = base;
    for (const QString &folder : {ofSource(sourceType), ofFileType(fileType)}) {
        if (!folder.isEmpty())
            path += folder + Util::separator();
    }
    return path;
}
