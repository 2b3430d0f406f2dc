// make_seeds DIRECTORY FEED...: writes the seeds of the fuzz targets into DIRECTORY/<target>/: a
// record of every kind of content, made from the schema, the records of recorded feeds, and the
// values of stored rows.

#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "feeds/feed.h"
#include "protocol/message_content.pb.h"
#include "protocol/notif.pb.h"
#include "support/everyfield.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QGuiApplication>

namespace
{

QDir seeds;

/// Equal seeds have equal names, so that repeated runs add none.
void write(const char *target, const QByteArray &bytes)
{
    const QString folder = QString::fromLatin1(target);
    seeds.mkpath(folder);
    const QByteArray name = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
    QFile file(seeds.filePath(folder + u'/' + QString::fromLatin1(name)));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("Cannot write %s", qUtf8Printable(file.fileName()));
}

void writeContent(const im::content::Content &content)
{
    write("content_record", QByteArray::fromStdString(content.SerializeAsString()));
    const auto item = deserializeContent(content, 1, nullptr);
    if (!item)
        return;
    for (const char *target : {"content_stored", "json"})
        write(target, mapToJson(serializeContent(item)));
    for (const char *target : {"emoji", "recognisers"})
        write(target, '\0' + item->content().toUtf8());
}

/// Each kind of content: empty, and with every field set, in several ways.
void writeEveryKind()
{
    const auto *kinds = im::content::Content::descriptor()->FindOneofByName("data");
    for (int i = 0; i < kinds->field_count(); ++i) {
        im::content::Content content;
        content.GetReflection()->MutableMessage(&content, kinds->field(i));
        writeContent(content);
        for (unsigned seed = 0; seed < 8; ++seed) {
            content.Clear();
            EveryField values(seed);
            values.fill(&content, kinds->field(i), 2);
            writeContent(content);
        }
    }
}

/// The values of rows of each type, after the two bytes that make the target take them unchanged.
void writeStoredValues()
{
    QFile file(QStringLiteral(STORED_VALUES));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Cannot read %s", qUtf8Printable(file.fileName()));
    const QByteArray streamed = "QVariant|X'";
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith(streamed)) {
            const QByteArray digits = line.split('\'').at(1);
            write("stored_value", QByteArray("\0\4", 2) + QByteArray::fromHex(digits));
        }
    }
}

void writeFeed(const QString &path)
{
    FeedReader feed(path);
    while (const auto frame = feed.next()) {
        im::notif::MessageCreatedNotif notification;
        if (frame->type != im::notif::MESSAGE_CREATED
            || !notification.ParseFromArray(frame->record.constData(), int(frame->record.size())))
            continue;
        const im::Message &message = notification.message();
        im::content::Content content;
        if (message.content_format_ver() <= 1)
            write("content_stored", QByteArray::fromStdString(message.content()));
        else if (content.ParseFromString(message.content()))
            writeContent(content);
    }
    if (!feed.error().isEmpty())
        qFatal("%s: %s", qUtf8Printable(path), qUtf8Printable(feed.error()));
}

} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().sliced(1);
    if (arguments.isEmpty())
        qFatal("usage: make_seeds DIRECTORY FEED...");
    seeds.setPath(arguments.first());
    writeEveryKind();
    writeStoredValues();
    for (const QString &feed : arguments.sliced(1))
        writeFeed(feed);
}
