#include "protocol/callcatalogue.h"
#include "protocol/common_code.pb.h"
#include "protocol/common_error.pb.h"
#include "protocol/errordetails.h"
#include "protocol/notif.pb.h"
#include "protocol/notifications.h"

#include <QTest>

#include <google/protobuf/descriptor.h>

#include <algorithm>
#include <set>

using namespace Qt::StringLiterals;

using google::protobuf::Descriptor;
using google::protobuf::FileDescriptor;

namespace
{

/// The schema files of all calls. A file without any would leave codes without a call.
std::set<const FileDescriptor *> schemaFiles()
{
    std::set<const FileDescriptor *> files;
    for (const protocol::Call &call : protocol::calls()) {
        files.insert(call.request->GetDescriptor()->file());
        files.insert(call.response->GetDescriptor()->file());
    }
    return files;
}

/// "OKeyInsufficientNotif" and "OKEY_INSUFFICIENT" alike as "okeyinsufficient".
std::string folded(std::string_view name)
{
    std::string result;
    for (char c : name) {
        if (c != '_')
            result += char(std::tolower(c));
    }
    return result;
}

} // namespace

class TestProtocol : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callsAgreeWithTheServices()
    {
        std::set<const protocol::Call *> seen;
        for (const FileDescriptor *file : schemaFiles()) {
            for (int s = 0; s < file->service_count(); ++s) {
                const auto *service = file->service(s);
                for (int m = 0; m < service->method_count(); ++m) {
                    const auto *method = service->method(m);
                    const protocol::Call *call =
                        protocol::callOf(service->full_name(), method->name());
                    QVERIFY2(call, method->full_name().c_str());
                    QCOMPARE(call->request->GetDescriptor(), method->input_type());
                    QCOMPARE(call->response->GetDescriptor(), method->output_type());

                    // Back again from the code and from the records.
                    const auto ofCode = protocol::callsOf(call->command);
                    QVERIFY(call >= ofCode.data() && call < ofCode.data() + ofCode.size());
                    QVERIFY(std::ranges::count(protocol::callsTaking(*call->request), call) == 1);
                    QVERIFY(std::ranges::count(protocol::callsReturning(*call->response), call)
                            == 1);
                    seen.insert(call);
                }
            }
        }
        QCOMPARE(seen.size(), 319u);
        QCOMPARE(protocol::calls().size(), 319u);

        QCOMPARE(protocol::callOf("im.chat.DialogService", "List")->command, im::LIST_DIALOGS);
        QCOMPARE(protocol::callOf(im::INIT_CONNECTION)->name, "Connect");
        QCOMPARE(protocol::callsOf(im::LIST_RECENT_ACTIONS).size(), 2u);
        QCOMPARE(protocol::callOf("im.chat.DialogService", "list"), nullptr);
    }

    void codesWithoutACall()
    {
        std::set<int> without;
        const auto *codes = im::Command_descriptor();
        for (int i = 0; i < codes->value_count(); ++i) {
            if (!protocol::callOf(codes->value(i)->number()))
                without.insert(codes->value(i)->number());
        }
        QCOMPARE(codes->value_count(), 321);
        QCOMPARE(without,
                 (std::set<int>{im::UNKNOWN_COMMAND, im::UPDATE_GROUP_PERMISSION,
                                im::LIST_RECENT_ACTIONS_V2}));
        for (int code : {-1, 511, INT_MAX, INT_MIN})
            QVERIFY(protocol::callsOf(code).empty());
    }

    void errorDetails()
    {
        // Every record of the file belongs to an error, but for the nested one.
        std::set<const Descriptor *> records{im::SystemErrorData::descriptor()};
        std::vector<int> codes{987654, -3}; // of a newer server
        for (int i = 0; i < im::Error_descriptor()->value_count(); ++i)
            codes.push_back(im::Error_descriptor()->value(i)->number());
        for (int code : codes) {
            const auto *own = protocol::errorDetailPrototype(code);
            if (own)
                records.insert(own->GetDescriptor());
            // Where all fields have their defaults, a record takes no bytes.
            const auto empty = protocol::errorDetail(code, {});
            QCOMPARE(empty ? empty->GetDescriptor() : nullptr,
                     own ? own->GetDescriptor() : nullptr);
            // Any failure may describe itself; that is not taken for the code's own record.
            for (const char *said : {"disk on fire", " ", "a", "C-", "(a", "Ошибка\nдиска"}) {
                im::SystemErrorData system;
                system.set_desc(said);
                const auto detail = protocol::errorDetail(code, system.SerializeAsString());
                const auto *read = dynamic_cast<const im::SystemErrorData *>(detail.get());
                QVERIFY2(code == im::SUCCESS ? !detail : read && read->desc() == said,
                         qPrintable(u"%1 %2"_s.arg(code).arg(QString::fromUtf8(said))));
            }
        }
        QCOMPARE(records.size(), 17u);
        QCOMPARE(im::InvalidKeyErrorData::descriptor()->file()->message_type_count(), 17);

        im::InvalidKeyErrorData key;
        key.set_key_ver(7);
        for (int code : {6402, 6403, 6404}) {
            const auto detail = protocol::errorDetail(code, key.SerializeAsString());
            const auto *read = dynamic_cast<const im::InvalidKeyErrorData *>(detail.get());
            QVERIFY(read && read->key_ver() == 7);
        }
        // Damaged bytes give a detail exactly where they still are a record.
        im::DialogKeyMissingErrorData missing;
        missing.set_dialog_id("G-7");
        QVERIFY(protocol::errorDetail(im::DIALOG_KEY_MISSING, missing.SerializeAsString()));
        missing.set_dialog_id("C-3-5");
        missing.add_missing_user_bundles();
        const std::string whole = missing.SerializeAsString();
        for (std::size_t size = 1; size <= whole.size(); ++size) {
            const std::string part = whole.substr(0, size);
            const auto detail = protocol::errorDetail(im::DIALOG_KEY_MISSING, part);
            QCOMPARE(bool(dynamic_cast<const im::DialogKeyMissingErrorData *>(detail.get())),
                     missing.ParseFromString(part));
        }
        for (int code : {int(im::NOT_READY), 500})
            QVERIFY(!protocol::errorDetail(code, "\xff\xff\xff\xff"));
        // Parses as a record without a description, so it describes nothing.
        QVERIFY(!protocol::errorDetail(500, std::string_view("\x10\x01", 2)));
    }

    void notificationsArePairedByName()
    {
        const auto *types = im::notif::NotifType_descriptor();
        const auto *file = types->file();
        std::set<const Descriptor *> paired;
        for (int i = 0; i < types->value_count(); ++i) {
            const auto *prototype = protocol::notificationPrototype(types->value(i)->number());
            if (!prototype)
                continue;
            // "MESSAGE_DRAFT_UPDATED" carries MessageDraftNotif, all others bear the same name but
            // for the endings.
            const std::string type = folded(types->value(i)->name());
            std::string record = folded(prototype->GetDescriptor()->name());
            if (record.ends_with("notif"))
                record.resize(record.size() - 5);
            QVERIFY2(type.starts_with(record), (type + " / " + record).c_str());
            QVERIFY(paired.insert(prototype->GetDescriptor()).second);
        }
        // Records that no type names: the two that create and extend a web session's token.
        std::set<std::string> unpaired;
        for (int i = 0; i < file->message_type_count(); ++i) {
            if (!paired.contains(file->message_type(i)))
                unpaired.insert(file->message_type(i)->name());
        }
        QCOMPARE(unpaired, (std::set<std::string>{"WebCreateTokenNotif", "WebExtendTokenNotif"}));
        for (int type :
             {int(im::notif::UNKNOWN_NOTIF), int(im::notif::DEVICE_UNLINKED), -1, 100000})
            QVERIFY(!protocol::notificationPrototype(type));
    }
};

QTEST_APPLESS_MAIN(TestProtocol)
#include "tst_protocol.moc"
