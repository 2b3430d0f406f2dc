// make_seeds DIRECTORY FEED...: writes what the fuzz targets start from into DIRECTORY/<target>/:
// a record of every kind of content, made from the schema, and what arrives in recorded feeds.

#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "feeds/feed.h"
#include "protocol/message_content.pb.h"
#include "protocol/notif.pb.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QGuiApplication>

#include <google/protobuf/message.h>

namespace
{

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

QDir seeds;

/// Equal seeds have equal names, so that nothing piles up.
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
    write("content_stored", mapToJson(serializeContent(item)));
    for (const char *target : {"emoji", "recognisers"})
        write(target, '\0' + item->content().toUtf8());
}

/// Gives every field a value, `depth` levels down; of a oneof the last one stays. Lists get two
/// elements.
void fill(Message *message, int depth)
{
    const auto *reflection = message->GetReflection();
    const auto *descriptor = message->GetDescriptor();
    for (int i = 0; i < descriptor->field_count(); ++i) {
        const FieldDescriptor *field = descriptor->field(i);
        const bool isList = field->is_repeated();
        for (int element = 0; element < (isList ? 2 : 1); ++element) {
            const auto add = [&](auto setter, auto adder, auto value) {
                if (isList)
                    (reflection->*adder)(message, field, value);
                else
                    (reflection->*setter)(message, field, value);
            };
            using google::protobuf::Reflection;
            switch (field->cpp_type()) {
            case FieldDescriptor::CPPTYPE_INT32:
                add(&Reflection::SetInt32, &Reflection::AddInt32, 1 + i);
                break;
            case FieldDescriptor::CPPTYPE_INT64:
                add(&Reflection::SetInt64, &Reflection::AddInt64, int64_t(1) << (30 + i));
                break;
            case FieldDescriptor::CPPTYPE_UINT32:
                add(&Reflection::SetUInt32, &Reflection::AddUInt32, 1U + unsigned(i));
                break;
            case FieldDescriptor::CPPTYPE_UINT64:
                add(&Reflection::SetUInt64, &Reflection::AddUInt64, 1U + uint64_t(i));
                break;
            case FieldDescriptor::CPPTYPE_DOUBLE:
                add(&Reflection::SetDouble, &Reflection::AddDouble, 50.45);
                break;
            case FieldDescriptor::CPPTYPE_FLOAT:
                add(&Reflection::SetFloat, &Reflection::AddFloat, 0.5F);
                break;
            case FieldDescriptor::CPPTYPE_BOOL:
                add(&Reflection::SetBool, &Reflection::AddBool, true);
                break;
            case FieldDescriptor::CPPTYPE_ENUM:
                add(&Reflection::SetEnumValue, &Reflection::AddEnumValue, 1 + element);
                break;
            case FieldDescriptor::CPPTYPE_STRING:
                add(&Reflection::SetString, &Reflection::AddString, field->name() + " \u00e9");
                break;
            case FieldDescriptor::CPPTYPE_MESSAGE:
                if (depth == 0)
                    break;
                fill(isList ? reflection->AddMessage(message, field)
                            : reflection->MutableMessage(message, field),
                     depth - 1);
                break;
            }
        }
    }
}

/// Each kind of content: empty, and with its fields set so many levels down.
void writeEveryKind()
{
    const auto *kinds = im::content::Content::descriptor()->FindOneofByName("data");
    for (int i = 0; i < kinds->field_count(); ++i) {
        for (int depth = -1; depth < 3; ++depth) {
            im::content::Content content;
            Message *body = content.GetReflection()->MutableMessage(&content, kinds->field(i));
            if (depth >= 0)
                fill(body, depth);
            writeContent(content);
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
    for (const QString &feed : arguments.sliced(1))
        writeFeed(feed);
}
