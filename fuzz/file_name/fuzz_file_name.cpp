// File names from outside: any name becomes one that the disk accepts, and a record keeps the name
// as it was sent.

#include "base/basefile.h"
#include "base/util.h"
#include "content/filedata.h"
#include "protocol/message_content.pb.h"
#include "support/fuzzing.h"

using fuzzing::check;

namespace
{

void checkSafe(const QString &name)
{
    const QString safe = Util::safeFileName(name);
    check(safe.isValidUtf16() && safe.toUtf8().size() <= 255, "a safe name is a text of 255 bytes");
    check(!safe.endsWith(u'.') && safe.trimmed() == safe, "nothing at its ends gets lost");
    check(Util::safeFileName(safe) == safe, "a safe name stays as it is");
    const QDir folder = fuzzing::folderWith(safe, {});
    check(folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
              == QStringList{safe},
          "a file can have that name, in that folder");
}

void checkExtension(const QString &name)
{
    const QString extension = BaseFile::extensionOf(name);
    check(extension.isEmpty()
              || (BaseFile::isValidExtension(extension) && name.endsWith(u'.' + extension)),
          "an extension is valid and ends the name");
    const QString document = Util::safeFileName(u'a' + name + QStringLiteral(".pdf"));
    check(BaseFile::extensionOf(document) == QStringLiteral("pdf"),
          "a safe name has its extension");
}

void checkRecord(const QString &name)
{
    FileData file;
    file.setFileName(name);
    const QString shown = Util::shownFileName(name);
    check(file.sentName() == name, "a record keeps the name that was sent");
    check(file.fileName() == shown && file.diskName() == Util::safeFileName(shown),
          "a record shows what people may see of it");
    check(file.suffix() == BaseFile::extensionOf(name).toLower(),
          "the name tells the kind of file");
    const FileData stored(file.serialize(), FileData::ParseType::Source);
    check(stored.isSameRecord(file), "what was stored is the same record");
    im::content::FileInfo sent;
    file.serialize(&sent);
    check(!name.isValidUtf16() || FileData(sent).isSameRecord(file),
          "what was sent is the same record");
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    const QString name = fuzzing::text(input);
    checkSafe(name);
    checkExtension(name);
    checkRecord(name);
}
