#include "protocol/notifications.h"

#include "protocol/notif.pb.h"

const google::protobuf::Message *protocol::notificationPrototype(int type)
{
    switch (type) {
#define NOTIFICATION(type, record)                                                                 \
    case im::notif::type:                                                                          \
        return &im::notif::record::default_instance();
#include "protocol/notifications.inc"
#undef NOTIFICATION
    default:
        return nullptr;
    }
}
