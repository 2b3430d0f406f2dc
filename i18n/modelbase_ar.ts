<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar_EG" sourcelanguage="en">
<context>
    <name></name>
    <message id="accounts_not_loaded">
        <source>The accounts have not been loaded yet.</source>
        <translation>لم يتم تحميل الحسابات بعد.</translation>
    </message>
    <message id="max_supported_accounts">
        <source>No more than %1 accounts can be signed in on one device.</source>
        <translation>لا يمكن تسجيل الدخول بأكثر من %1 حسابات على جهاز واحد.</translation>
    </message>
    <message id="account_already_signed_in">
        <source>This account is already signed in on this device.</source>
        <translation>تم تسجيل الدخول بهذا الحساب بالفعل على هذا الجهاز.</translation>
    </message>
    <message id="system_alert_unsupported">
        <source>This version cannot show what happened here</source>
        <translation>لا يمكن لهذا الإصدار عرض ما حدث هنا</translation>
    </message>
    <message id="system_alert_created">
        <source>%1 created the group</source>
        <translation>أنشأ %1 المجموعة</translation>
    </message>
    <message id="system_alert_you_created">
        <source>You created the group</source>
        <translation>أنت أنشأت المجموعة</translation>
    </message>
    <message id="system_alert_created_with_name">
        <source>%1 created the group “%2”</source>
        <translation>أنشأ %1 المجموعة «%2»</translation>
    </message>
    <message id="system_alert_you_created_with_name">
        <source>You created the group “%2”</source>
        <translation>أنت أنشأت المجموعة «%2»</translation>
    </message>
    <message id="system_alert_joined">
        <source>%1 joined the group</source>
        <translation>انضم %1 إلى المجموعة</translation>
    </message>
    <message id="system_alert_you_joined">
        <source>You joined the group</source>
        <translation>أنت انضممت إلى المجموعة</translation>
    </message>
    <message id="system_alert_added">
        <source>%1 added %2</source>
        <translation>أضاف %1 %2 إلى المجموعة</translation>
    </message>
    <message id="system_alert_you_added">
        <source>You added %2</source>
        <translation>أنت أضفت %2 إلى المجموعة</translation>
    </message>
    <message id="system_alert_joined_by_link">
        <source>%1 joined the group by an invite link</source>
        <translation>انضم %1 إلى المجموعة عبر رابط دعوة</translation>
    </message>
    <message id="system_alert_you_joined_by_link">
        <source>You joined the group by an invite link</source>
        <translation>أنت انضممت إلى المجموعة عبر رابط دعوة</translation>
    </message>
    <message id="system_alert_removed">
        <source>%1 removed %2</source>
        <translation>أزال %1 %2 من المجموعة</translation>
    </message>
    <message id="system_alert_you_removed">
        <source>You removed %2</source>
        <translation>أنت أزلت %2 من المجموعة</translation>
    </message>
    <message id="system_alert_left">
        <source>%1 left the group</source>
        <translation>غادر %1 المجموعة</translation>
    </message>
    <message id="system_alert_you_left">
        <source>You left the group</source>
        <translation>أنت غادرت المجموعة</translation>
    </message>
    <message id="system_alert_renamed">
        <source>%1 changed the group name</source>
        <translation>غيّر %1 اسم المجموعة</translation>
    </message>
    <message id="system_alert_you_renamed">
        <source>You changed the group name</source>
        <translation>أنت غيّرت اسم المجموعة</translation>
    </message>
    <message id="system_alert_renamed_to">
        <source>%1 changed the group name to “%2”</source>
        <translation>غيّر %1 اسم المجموعة إلى «%2»</translation>
    </message>
    <message id="system_alert_you_renamed_to">
        <source>You changed the group name to “%2”</source>
        <translation>أنت غيّرت اسم المجموعة إلى «%2»</translation>
    </message>
    <message id="system_alert_photo_changed">
        <source>%1 changed the group photo</source>
        <translation>غيّر %1 صورة المجموعة</translation>
    </message>
    <message id="system_alert_you_photo_changed">
        <source>You changed the group photo</source>
        <translation>أنت غيّرت صورة المجموعة</translation>
    </message>
    <message id="system_alert_photo_deleted">
        <source>%1 removed the group photo</source>
        <translation>أزال %1 صورة المجموعة</translation>
    </message>
    <message id="system_alert_you_photo_deleted">
        <source>You removed the group photo</source>
        <translation>أنت أزلت صورة المجموعة</translation>
    </message>
    <message id="system_alert_upgraded">
        <source>%1 upgraded the group</source>
        <translation>رقّى %1 المجموعة</translation>
    </message>
    <message id="system_alert_you_upgraded">
        <source>You upgraded the group</source>
        <translation>أنت رقّيت المجموعة</translation>
    </message>
    <message id="system_alert_key_changed">
        <source>The security key of %1 has changed</source>
        <translation>تغيّر مفتاح الأمان الخاص بـ %1</translation>
    </message>
    <message id="system_alert_my_key_changed">
        <source>Your security key has changed</source>
        <translation>تغيّر مفتاح الأمان الخاص بك</translation>
    </message>
    <message id="system_alert_not_mutual">
        <source>%1 is not a mutual contact</source>
        <translation>ليس %1 جهة اتصال متبادلة</translation>
    </message>
    <message id="system_alert_me_not_mutual">
        <source>You are not mutual contacts</source>
        <translation>لستما جهتي اتصال متبادلتين</translation>
    </message>
    <message id="system_alert_owner_changed">
        <source>%1 made %2 the owner of the group</source>
        <translation>عيّن %1 %2 مالكًا للمجموعة</translation>
    </message>
    <message id="system_alert_you_owner_changed">
        <source>You made %2 the owner of the group</source>
        <translation>أنت عيّنت %2 مالكًا للمجموعة</translation>
    </message>
    <message id="system_alert_contact_added">
        <source>%1 added %2 as a contact</source>
        <translation>أضاف %1 %2 إلى جهات الاتصال</translation>
    </message>
    <message id="system_alert_you_contact_added">
        <source>You added %2 as a contact</source>
        <translation>أنت أضفت %2 إلى جهات الاتصال</translation>
    </message>
    <message id="system_alert_self_destruct_on">
        <source>%1 set messages to be deleted after %2</source>
        <translation>ضبط %1 الرسائل لتُحذف بعد %2</translation>
    </message>
    <message id="system_alert_you_self_destruct_on">
        <source>You set messages to be deleted after %2</source>
        <translation>أنت ضبطت الرسائل لتُحذف بعد %2</translation>
    </message>
    <message id="system_alert_self_destruct_off">
        <source>%1 turned self-deleting messages off</source>
        <translation>أوقف %1 الحذف الذاتي للرسائل</translation>
    </message>
    <message id="system_alert_you_self_destruct_off">
        <source>You turned self-deleting messages off</source>
        <translation>أنت أوقفت الحذف الذاتي للرسائل</translation>
    </message>
    <message id="system_alert_pinned">
        <source>%1 pinned a message</source>
        <translation>ثبّت %1 رسالة</translation>
    </message>
    <message id="system_alert_you_pinned">
        <source>You pinned a message</source>
        <translation>أنت ثبّتّ رسالة</translation>
    </message>
    <message id="system_alert_dismissed">
        <source>%1 dissolved the group</source>
        <translation>حلّ %1 المجموعة</translation>
    </message>
    <message id="system_alert_you_dismissed">
        <source>You dissolved the group</source>
        <translation>أنت حللت المجموعة</translation>
    </message>
    <message id="system_alert_anonymous_id">
        <source>%1 has a new anonymous identity</source>
        <translation>حصل %1 على هوية مجهولة جديدة</translation>
    </message>
    <message id="system_alert_my_anonymous_id">
        <source>You have a new anonymous identity</source>
        <translation>لديك هوية مجهولة جديدة</translation>
    </message>
    <message id="system_alert_screenshot">
        <source>%1 took a screenshot</source>
        <translation>التقط %1 لقطة شاشة</translation>
    </message>
    <message id="system_alert_you_screenshot">
        <source>You took a screenshot</source>
        <translation>أنت التقطت لقطة شاشة</translation>
    </message>
    <message id="system_alert_meeting_started">
        <source>%1 started a meeting</source>
        <translation>بدأ %1 اجتماعًا</translation>
    </message>
    <message id="system_alert_you_meeting_started">
        <source>You started a meeting</source>
        <translation>أنت بدأت اجتماعًا</translation>
    </message>
    <message id="system_alert_meeting_ended">
        <source>The meeting ended</source>
        <translation>انتهى الاجتماع</translation>
    </message>
    <message id="system_alert_face_blur_on">
        <source>%1 turned on the blurring of faces</source>
        <translation>شغّل %1 تمويه الوجوه</translation>
    </message>
    <message id="system_alert_you_face_blur_on">
        <source>You turned on the blurring of faces</source>
        <translation>أنت شغّلت تمويه الوجوه</translation>
    </message>
    <message id="system_alert_face_blur_off">
        <source>%1 turned off the blurring of faces</source>
        <translation>أوقف %1 تمويه الوجوه</translation>
    </message>
    <message id="system_alert_you_face_blur_off">
        <source>You turned off the blurring of faces</source>
        <translation>أنت أوقفت تمويه الوجوه</translation>
    </message>
    <message id="system_alert_receipt_complete">
        <source>Everyone has confirmed the message</source>
        <translation>أكّد الجميع الرسالة</translation>
    </message>
    <message id="system_alert_web_login">
        <source>%1 signed in on the web</source>
        <translation>سجّل %1 الدخول على الويب</translation>
    </message>
    <message id="system_alert_you_web_login">
        <source>You signed in on the web</source>
        <translation>أنت سجّلت الدخول على الويب</translation>
    </message>
    <message id="system_alert_limit_off">
        <source>%1 lifted the message limit</source>
        <translation>ألغى %1 حد الرسائل</translation>
    </message>
    <message id="system_alert_you_limit_off">
        <source>You lifted the message limit</source>
        <translation>أنت ألغيت حد الرسائل</translation>
    </message>
    <message id="system_alert_limit_count">
        <source>%1 set the chat to keep the latest %2</source>
        <translation>ضبط %1 الدردشة للاحتفاظ بآخر %2</translation>
    </message>
    <message id="system_alert_you_limit_count">
        <source>You set the chat to keep the latest %2</source>
        <translation>أنت ضبطت الدردشة للاحتفاظ بآخر %2</translation>
    </message>
    <message id="system_alert_limit_days">
        <source>%1 set the chat to keep messages for %2</source>
        <translation>ضبط %1 الدردشة للاحتفاظ بالرسائل لمدة %2</translation>
    </message>
    <message id="system_alert_you_limit_days">
        <source>You set the chat to keep messages for %2</source>
        <translation>أنت ضبطت الدردشة للاحتفاظ بالرسائل لمدة %2</translation>
    </message>
    <message id="system_alert_limit_both">
        <source>%1 set the chat to keep the latest %2 for %3</source>
        <translation>ضبط %1 الدردشة للاحتفاظ بآخر %2 لمدة %3</translation>
    </message>
    <message id="system_alert_you_limit_both">
        <source>You set the chat to keep the latest %2 for %3</source>
        <translation>أنت ضبطت الدردشة للاحتفاظ بآخر %2 لمدة %3</translation>
    </message>
    <message id="system_alert_topic">
        <source>%1 updated a topic</source>
        <translation>حدّث %1 موضوعًا</translation>
    </message>
    <message id="system_alert_you_topic">
        <source>You updated a topic</source>
        <translation>أنت حدّثت موضوعًا</translation>
    </message>
    <message id="system_alert_topic_updated">
        <source>%1 updated the topic “%2”</source>
        <translation>حدّث %1 الموضوع «%2»</translation>
    </message>
    <message id="system_alert_you_topic_updated">
        <source>You updated the topic “%2”</source>
        <translation>أنت حدّثت الموضوع «%2»</translation>
    </message>
    <message id="system_alert_topic_created">
        <source>%1 created the topic “%2”</source>
        <translation>أنشأ %1 الموضوع «%2»</translation>
    </message>
    <message id="system_alert_you_topic_created">
        <source>You created the topic “%2”</source>
        <translation>أنت أنشأت الموضوع «%2»</translation>
    </message>
    <message id="system_alert_topic_renamed">
        <source>%1 renamed the topic “%3” to “%2”</source>
        <translation>غيّر %1 اسم الموضوع «%3» إلى «%2»</translation>
    </message>
    <message id="system_alert_you_topic_renamed">
        <source>You renamed the topic “%3” to “%2”</source>
        <translation>أنت غيّرت اسم الموضوع «%3» إلى «%2»</translation>
    </message>
    <message id="system_alert_topic_closed">
        <source>%1 closed the topic “%2”</source>
        <translation>أغلق %1 الموضوع «%2»</translation>
    </message>
    <message id="system_alert_you_topic_closed">
        <source>You closed the topic “%2”</source>
        <translation>أنت أغلقت الموضوع «%2»</translation>
    </message>
    <message id="system_alert_topic_reopened">
        <source>%1 reopened the topic “%2”</source>
        <translation>أعاد %1 فتح الموضوع «%2»</translation>
    </message>
    <message id="system_alert_you_topic_reopened">
        <source>You reopened the topic “%2”</source>
        <translation>أنت أعدت فتح الموضوع «%2»</translation>
    </message>
    <message id="system_alert_topic_archived">
        <source>%1 archived the topic “%2”</source>
        <translation>أرشف %1 الموضوع «%2»</translation>
    </message>
    <message id="system_alert_you_topic_archived">
        <source>You archived the topic “%2”</source>
        <translation>أنت أرشفت الموضوع «%2»</translation>
    </message>
    <message id="system_alert_topic_unarchived">
        <source>%1 took the topic “%2” out of the archive</source>
        <translation>أخرج %1 الموضوع «%2» من الأرشيف</translation>
    </message>
    <message id="system_alert_you_topic_unarchived">
        <source>You took the topic “%2” out of the archive</source>
        <translation>أنت أخرجت الموضوع «%2» من الأرشيف</translation>
    </message>
    <message id="system_alert_topic_moved">
        <source>%1 moved the topic “%2”</source>
        <translation>نقل %1 الموضوع «%2»</translation>
    </message>
    <message id="system_alert_you_topic_moved">
        <source>You moved the topic “%2”</source>
        <translation>أنت نقلت الموضوع «%2»</translation>
    </message>
    <message id="system_alert_topic_deleted">
        <source>%1 deleted the topic “%2”</source>
        <translation>حذف %1 الموضوع «%2»</translation>
    </message>
    <message id="system_alert_you_topic_deleted">
        <source>You deleted the topic “%2”</source>
        <translation>أنت حذفت الموضوع «%2»</translation>
    </message>
    <message id="system_alert_topics_on">
        <source>%1 turned on topics</source>
        <translation>فعّل %1 المواضيع</translation>
    </message>
    <message id="system_alert_you_topics_on">
        <source>You turned on topics</source>
        <translation>أنت فعّلت المواضيع</translation>
    </message>
    <message id="system_alert_dismiss_at">
        <source>%1 set the group to be dissolved on %2</source>
        <translation>حدّد %1 موعد حل المجموعة في %2</translation>
    </message>
    <message id="system_alert_you_dismiss_at">
        <source>You set the group to be dissolved on %2</source>
        <translation>أنت حدّدت موعد حل المجموعة في %2</translation>
    </message>
    <message id="system_alert_dismiss_off">
        <source>%1 set the group to stay</source>
        <translation>أبقى %1 على المجموعة</translation>
    </message>
    <message id="system_alert_you_dismiss_off">
        <source>You set the group to stay</source>
        <translation>أنت أبقيت على المجموعة</translation>
    </message>
    <message id="system_alert_restricted_on">
        <source>%1 turned on restricted mode</source>
        <translation>فعّل %1 الوضع المقيّد</translation>
    </message>
    <message id="system_alert_you_restricted_on">
        <source>You turned on restricted mode</source>
        <translation>أنت فعّلت الوضع المقيّد</translation>
    </message>
    <message id="system_alert_restricted_off">
        <source>%1 turned off restricted mode</source>
        <translation>أوقف %1 الوضع المقيّد</translation>
    </message>
    <message id="system_alert_you_restricted_off">
        <source>You turned off restricted mode</source>
        <translation>أنت أوقفت الوضع المقيّد</translation>
    </message>
    <message id="system_alert_voice_expired">
        <source>The voice message has expired</source>
        <translation>انتهت صلاحية الرسالة الصوتية</translation>
    </message>
    <message id="system_alert_media_expired">
        <source>The media have expired</source>
        <translation>انتهت صلاحية الوسائط</translation>
    </message>
    <message id="system_alert_photo_expired">
        <source>The photo has expired</source>
        <translation>انتهت صلاحية الصورة</translation>
    </message>
    <message id="system_alert_video_expired">
        <source>The video has expired</source>
        <translation>انتهت صلاحية الفيديو</translation>
    </message>
    <message id="system_alert_theme">
        <source>%1 changed the theme of the chat</source>
        <translation>غيّر %1 سمة الدردشة</translation>
    </message>
    <message id="system_alert_you_theme">
        <source>You changed the theme of the chat</source>
        <translation>أنت غيّرت سمة الدردشة</translation>
    </message>
    <message id="system_alert_theme_to">
        <source>%1 changed the theme of the chat to “%2”</source>
        <translation>غيّر %1 سمة الدردشة إلى «%2»</translation>
    </message>
    <message id="system_alert_you_theme_to">
        <source>You changed the theme of the chat to “%2”</source>
        <translation>أنت غيّرت سمة الدردشة إلى «%2»</translation>
    </message>
    <message id="system_alert_wallpaper">
        <source>%1 changed the background of the chat</source>
        <translation>غيّر %1 خلفية الدردشة</translation>
    </message>
    <message id="system_alert_you_wallpaper">
        <source>You changed the background of the chat</source>
        <translation>أنت غيّرت خلفية الدردشة</translation>
    </message>
    <message id="system_alert_wallpaper_off">
        <source>%1 removed the background of the chat</source>
        <translation>أزال %1 خلفية الدردشة</translation>
    </message>
    <message id="system_alert_you_wallpaper_off">
        <source>You removed the background of the chat</source>
        <translation>أنت أزلت خلفية الدردشة</translation>
    </message>
    <message id="system_alert_you_among_others">
        <source>you</source>
        <translation>أنت</translation>
    </message>
    <message id="system_alert_you_object">
        <source>you</source>
        <translation>إياك</translation>
    </message>
    <message id="list_separator">
        <source>, </source>
        <translation>، </translation>
    </message>
    <message id="system_alert_messages" numerus="yes">
        <source>%n messages</source>
        <translation>
            <numerusform>%n رسالة</numerusform>
            <numerusform>رسالة</numerusform>
            <numerusform>رسالتين</numerusform>
            <numerusform>%n رسائل</numerusform>
            <numerusform>%n رسالة</numerusform>
            <numerusform>%n رسالة</numerusform>
        </translation>
    </message>
    <message id="system_alert_days" numerus="yes">
        <source>%n days</source>
        <translation>
            <numerusform>%n يوم</numerusform>
            <numerusform>يوم واحد</numerusform>
            <numerusform>يومين</numerusform>
            <numerusform>%n أيام</numerusform>
            <numerusform>%n يومًا</numerusform>
            <numerusform>%n يوم</numerusform>
        </translation>
    </message>
    <message id="system_alert_hours" numerus="yes">
        <source>%n hours</source>
        <translation>
            <numerusform>%n ساعة</numerusform>
            <numerusform>ساعة واحدة</numerusform>
            <numerusform>ساعتين</numerusform>
            <numerusform>%n ساعات</numerusform>
            <numerusform>%n ساعة</numerusform>
            <numerusform>%n ساعة</numerusform>
        </translation>
    </message>
    <message id="system_alert_minutes" numerus="yes">
        <source>%n minutes</source>
        <translation>
            <numerusform>%n دقيقة</numerusform>
            <numerusform>دقيقة واحدة</numerusform>
            <numerusform>دقيقتين</numerusform>
            <numerusform>%n دقائق</numerusform>
            <numerusform>%n دقيقة</numerusform>
            <numerusform>%n دقيقة</numerusform>
        </translation>
    </message>
    <message id="system_alert_seconds" numerus="yes">
        <source>%n seconds</source>
        <translation>
            <numerusform>%n ثانية</numerusform>
            <numerusform>ثانية واحدة</numerusform>
            <numerusform>ثانيتين</numerusform>
            <numerusform>%n ثوانٍ</numerusform>
            <numerusform>%n ثانية</numerusform>
            <numerusform>%n ثانية</numerusform>
        </translation>
    </message>
    <message id="system_alert_someone">
        <source>Someone</source>
        <translation>شخص ما</translation>
    </message>
    <message id="system_alert_someone_object">
        <source>someone</source>
        <translation>شخصًا ما</translation>
    </message>
    <message id="call">
        <source>Call</source>
        <translation>مكالمة</translation>
    </message>
    <message id="call_outgoing">
        <source>Calling…</source>
        <translation>جارٍ الاتصال…</translation>
    </message>
    <message id="call_incoming">
        <source>Incoming call</source>
        <translation>مكالمة واردة</translation>
    </message>
    <message id="call_in_progress">
        <source>Call in progress</source>
        <translation>المكالمة جارية</translation>
    </message>
    <message id="call_was_declined">
        <source>Call declined</source>
        <translation>رُفضت المكالمة</translation>
    </message>
    <message id="call_you_declined">
        <source>You declined the call</source>
        <translation>أنت رفضت المكالمة</translation>
    </message>
    <message id="call_no_answer">
        <source>No answer</source>
        <translation>لا يوجد رد</translation>
    </message>
    <message id="call_missed">
        <source>Missed call</source>
        <translation>مكالمة فائتة</translation>
    </message>
    <message id="call_you_cancelled">
        <source>You cancelled the call</source>
        <translation>أنت ألغيت المكالمة</translation>
    </message>
    <message id="call_finished">
        <source>Call %1</source>
        <translation>مكالمة %1</translation>
    </message>
    <message id="call_failed">
        <source>Call failed</source>
        <translation>فشلت المكالمة</translation>
    </message>
    <message id="call_busy">
        <source>Line busy</source>
        <translation>الخط مشغول</translation>
    </message>
    <message id="call_missed_while_busy">
        <source>Missed call while you were busy</source>
        <translation>مكالمة فائتة أثناء انشغالك</translation>
    </message>
    <message id="storage_file_in_use_tip">
        <source>It is still being written.</source>
        <translation>لا يزال قيد الكتابة.</translation>
    </message>
    <message id="storage_file_unreadable_tip">
        <source>It cannot be read.</source>
        <translation>تتعذر قراءته.</translation>
    </message>
    <message id="storage_file_not_writable_tip">
        <source>It cannot be written at the new place.</source>
        <translation>تتعذر كتابته في الموقع الجديد.</translation>
    </message>
    <message id="storage_file_in_the_way_tip">
        <source>Something else is in its way at the new place.</source>
        <translation>يوجد شيء آخر في مكانه في الموقع الجديد.</translation>
    </message>
    <message id="storage_file_not_removable_tip">
        <source>It has been copied, but cannot be removed from the old place.</source>
        <translation>تم نسخه، لكن تتعذر إزالته من الموقع القديم.</translation>
    </message>
    <message id="storage_move_running_tip">
        <source>A move is under way.</source>
        <translation>توجد عملية نقل جارية.</translation>
    </message>
    <message id="storage_move_unfinished_tip">
        <source>The last move has not finished yet.</source>
        <translation>لم تكتمل عملية النقل السابقة بعد.</translation>
    </message>
    <message id="storage_old_place_missing_tip">
        <source>The old place is not there. Is its disk connected?</source>
        <translation>الموقع القديم غير موجود. هل القرص متصل؟</translation>
    </message>
    <message id="storage_place_relative_tip">
        <source>The new place needs a full path.</source>
        <translation>يجب إدخال المسار الكامل للموقع الجديد.</translation>
    </message>
    <message id="storage_place_missing_tip">
        <source>The new place does not exist.</source>
        <translation>الموقع الجديد غير موجود.</translation>
    </message>
    <message id="storage_place_no_directory_tip">
        <source>The new place is not a directory.</source>
        <translation>الموقع الجديد ليس مجلدًا.</translation>
    </message>
    <message id="storage_place_same_tip">
        <source>The files are there already.</source>
        <translation>الملفات موجودة هناك بالفعل.</translation>
    </message>
    <message id="storage_place_inside_tip">
        <source>The new place lies inside the present one.</source>
        <translation>يقع الموقع الجديد داخل الموقع الحالي.</translation>
    </message>
    <message id="storage_place_around_tip">
        <source>The present place lies inside the new one.</source>
        <translation>يقع الموقع الحالي داخل الموقع الجديد.</translation>
    </message>
    <message id="storage_space_insufficient_tip">
        <source>There is not enough space at the new place.</source>
        <translation>لا توجد مساحة كافية في الموقع الجديد.</translation>
    </message>
    <message id="storage_no_permissions__tip">
        <source>The new place cannot be written to.</source>
        <translation>لا يمكن الكتابة في الموقع الجديد.</translation>
    </message>
    <message id="storage_files_left_tip">
        <source>Some files could not be moved.</source>
        <translation>تعذر نقل بعض الملفات.</translation>
    </message>
    <message id="storage_files_in_use_tip">
        <source>Some files are still being written. They follow later.</source>
        <translation>لا تزال بعض الملفات قيد الكتابة، وستُنقل لاحقًا.</translation>
    </message>
    <message id="storage_settings_not_stored_tip">
        <source>The settings cannot be stored just now.</source>
        <translation>لا يمكن حفظ الإعدادات الآن.</translation>
    </message>
</context>
</TS>
