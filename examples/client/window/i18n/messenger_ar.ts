<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar_EG" sourcelanguage="en">
<context>
    <name></name>
    <message id="client_add_account">
        <source>Add account</source>
        <translation>إضافة حساب</translation>
    </message>
    <message id="client_chats">
        <source>Chats</source>
        <translation>المحادثات</translation>
    </message>
    <message id="client_devices">
        <source>Devices</source>
        <translation>الأجهزة</translation>
    </message>
    <message id="client_move">
        <source>Move the media</source>
        <translation>نقل الوسائط</translation>
    </message>
    <message id="client_log">
        <source>Log</source>
        <translation>السجل</translation>
    </message>
    <message id="client_settings">
        <source>Settings</source>
        <translation>الإعدادات</translation>
    </message>
    <message id="client_contact">
        <source>Contact</source>
        <translation>جهة اتصال</translation>
    </message>
    <message id="client_combined_count" numerus="yes">
        <source>%n message(s)</source>
        <translation>
            <numerusform>لا رسائل</numerusform>
            <numerusform>رسالة واحدة</numerusform>
            <numerusform>رسالتان</numerusform>
            <numerusform>%n رسائل</numerusform>
            <numerusform>%n رسالة</numerusform>
            <numerusform>%n رسالة</numerusform>
        </translation>
    </message>
    <message id="client_file_count" numerus="yes">
        <source>%n file(s)</source>
        <translation>
            <numerusform>لا ملفات</numerusform>
            <numerusform>ملف واحد</numerusform>
            <numerusform>ملفان</numerusform>
            <numerusform>%n ملفات</numerusform>
            <numerusform>%n ملفًا</numerusform>
            <numerusform>%n ملف</numerusform>
        </translation>
    </message>
    <message id="client_unknown_place">
        <source>Unknown place</source>
        <translation>مكان غير معروف</translation>
    </message>
    <message id="client_lottery_my_amount">
        <source>You drew %1</source>
        <translation>حصلت على %1</translation>
    </message>
    <message id="client_lottery_drawn">
        <source>%1 of %2 drawn</source>
        <translation>تم سحب %1 من %2</translation>
    </message>
    <message id="client_cannot_be_shown">
        <source>(cannot be shown here)</source>
        <translation>(لا يمكن عرضها هنا)</translation>
    </message>
    <message id="client_show_more">
        <source>Show more</source>
        <translation>عرض المزيد</translation>
    </message>
    <message id="client_show_spoiler">
        <source>Show spoiler</source>
        <translation>إظهار المحتوى المخفي</translation>
    </message>
    <message id="client_live_photo">
        <source>Live</source>
        <translation>حية</translation>
    </message>
    <message id="client_meeting_invitation">
        <source>Invitation to a meeting</source>
        <translation>دعوة إلى اجتماع</translation>
    </message>
    <message id="client_join_meeting">
        <source>Join</source>
        <translation>انضمام</translation>
    </message>
    <message id="client_newer_content">
        <source>This message needs a newer version.</source>
        <translation>تحتاج هذه الرسالة إلى إصدار أحدث.</translation>
    </message>
    <message id="client_poll_ended">
        <source>Final results</source>
        <translation>النتائج النهائية</translation>
    </message>
    <message id="client_poll_quiz">
        <source>Quiz</source>
        <translation>اختبار</translation>
    </message>
    <message id="client_poll">
        <source>Poll</source>
        <translation>استطلاع</translation>
    </message>
    <message id="client_poll_anonymous">
        <source>anonymous</source>
        <translation>مجهول</translation>
    </message>
    <message id="client_poll_multiple">
        <source>several answers</source>
        <translation>إجابات متعددة</translation>
    </message>
    <message id="client_poll_right">
        <source>Right!</source>
        <translation>صحيح!</translation>
    </message>
    <message id="client_poll_wrong">
        <source>Wrong.</source>
        <translation>خطأ.</translation>
    </message>
    <message id="client_poll_no_votes">
        <source>No votes yet</source>
        <translation>لا أصوات بعد</translation>
    </message>
    <message id="client_poll_votes" numerus="yes">
        <source>%n vote(s)</source>
        <translation>
            <numerusform>لا أصوات</numerusform>
            <numerusform>صوت واحد</numerusform>
            <numerusform>صوتان</numerusform>
            <numerusform>%n أصوات</numerusform>
            <numerusform>%n صوتًا</numerusform>
            <numerusform>%n صوت</numerusform>
        </translation>
    </message>
    <message id="client_transfer_failed">
        <source>Failed</source>
        <translation>فشل</translation>
    </message>
    <message id="client_move_ok">
        <source>Everything is in its new place.</source>
        <translation>كل شيء في مكانه الجديد.</translation>
    </message>
    <message id="client_move_failed">
        <source>Not everything has been moved. The next start goes on.</source>
        <translation>لم يُنقل كل شيء. سيستمر النقل عند التشغيل التالي.</translation>
    </message>
    <message id="client_move_given_up">
        <source>What has not been moved stays where it was.</source>
        <translation>ما لم يُنقل يبقى في مكانه.</translation>
    </message>
    <message id="client_move_place">
        <source>Where they are</source>
        <translation>مكانها الحالي</translation>
    </message>
    <message id="client_move_target">
        <source>Where they are to be</source>
        <translation>مكانها الجديد</translation>
    </message>
    <message id="client_move_target_hint">
        <source>A directory that exists</source>
        <translation>مجلد موجود</translation>
    </message>
    <message id="client_move_stop">
        <source>Stop</source>
        <translation>إيقاف</translation>
    </message>
    <message id="client_move_start">
        <source>Move</source>
        <translation>نقل</translation>
    </message>
    <message id="client_move_progress">
        <source>%1 % – %2 of %3</source>
        <translation>%1 % – %2 من %3</translation>
    </message>
    <message id="client_move_idle">
        <source>Nothing is being moved.</source>
        <translation>لا يُنقل شيء الآن.</translation>
    </message>
    <message id="client_move_retry">
        <source>Try again</source>
        <translation>إعادة المحاولة</translation>
    </message>
    <message id="client_move_skip">
        <source>Leave these</source>
        <translation>ترك هذه الملفات</translation>
    </message>
    <message id="client_move_give_up">
        <source>Give up</source>
        <translation>التخلي عن النقل</translation>
    </message>
    <message id="client_devices_nobody">
        <source>Nobody is signed in, so there are no devices.</source>
        <translation>لم يسجل أحد الدخول، فلا توجد أجهزة.</translation>
    </message>
    <message id="client_this_device">
        <source>%1 (this device)</source>
        <translation>%1 (هذا الجهاز)</translation>
    </message>
    <message id="client_sealed">
        <source>Sealed</source>
        <translation>مختوم</translation>
    </message>
    <message id="client_unlink">
        <source>Unlink</source>
        <translation>إلغاء الربط</translation>
    </message>
    <message id="client_tag_friends">
        <source>Friends</source>
        <translation>الأصدقاء</translation>
    </message>
    <message id="client_tag_family">
        <source>Family</source>
        <translation>العائلة</translation>
    </message>
    <message id="client_tag_work">
        <source>Work</source>
        <translation>العمل</translation>
    </message>
    <message id="client_tag_all">
        <source>All</source>
        <translation>الكل</translation>
    </message>
    <message id="client_search">
        <source>Search</source>
        <translation>بحث</translation>
    </message>
    <message id="client_archive">
        <source>Archive</source>
        <translation>الأرشيف</translation>
    </message>
    <message id="client_unmute">
        <source>Sound on</source>
        <translation>تشغيل الصوت</translation>
    </message>
    <message id="client_mute">
        <source>Mute</source>
        <translation>كتم</translation>
    </message>
    <message id="client_unarchive">
        <source>Take out of the archive</source>
        <translation>إخراج من الأرشيف</translation>
    </message>
    <message id="client_typing">
        <source>%1 is typing …</source>
        <translation>%1 يكتب …</translation>
    </message>
    <message id="client_no_match">
        <source>Nothing matches “%1”.</source>
        <translation>لا شيء يطابق «%1».</translation>
    </message>
    <message id="client_archive_empty">
        <source>The archive is empty.</source>
        <translation>الأرشيف فارغ.</translation>
    </message>
    <message id="client_tag_empty">
        <source>No dialog has this tag.</source>
        <translation>لا توجد محادثة بهذا الوسم.</translation>
    </message>
    <message id="client_dialogs_empty">
        <source>Nothing has arrived yet.</source>
        <translation>لم يصل شيء بعد.</translation>
    </message>
    <message id="client_locked">
        <source>Locked</source>
        <translation>مقفل</translation>
    </message>
    <message id="client_passcode">
        <source>Passcode</source>
        <translation>رمز المرور</translation>
    </message>
    <message id="client_wrong_passcode">
        <source>This is not the passcode.</source>
        <translation>رمز المرور غير صحيح.</translation>
    </message>
    <message id="client_unlock">
        <source>Unlock</source>
        <translation>فتح القفل</translation>
    </message>
    <message id="client_log_empty">
        <source>Nothing has been logged yet.</source>
        <translation>لم يُسجل شيء بعد.</translation>
    </message>
    <message id="client_veto">
        <source>You have not sent your message. Send or delete it before you switch.</source>
        <translation>لم ترسل رسالتك. أرسلها أو احذفها قبل التبديل.</translation>
    </message>
    <message id="client_message_count" numerus="yes">
        <source>%n message(s)</source>
        <translation>
            <numerusform>لا رسائل</numerusform>
            <numerusform>رسالة واحدة</numerusform>
            <numerusform>رسالتان</numerusform>
            <numerusform>%n رسائل</numerusform>
            <numerusform>%n رسالة</numerusform>
            <numerusform>%n رسالة</numerusform>
        </translation>
    </message>
    <message id="client_next_mention">
        <source>Next mention (%1)</source>
        <translation>الإشارة التالية (%1)</translation>
    </message>
    <message id="client_next_reaction">
        <source>Next reaction (%1)</source>
        <translation>التفاعل التالي (%1)</translation>
    </message>
    <message id="client_write">
        <source>Message, with **bold**, __italic__ or `code`</source>
        <translation>رسالة، مع **غامق** أو __مائل__ أو `رمز`</translation>
    </message>
    <message id="client_send">
        <source>Send</source>
        <translation>إرسال</translation>
    </message>
    <message id="client_notebook">
        <source>This is the hidden notebook. It has no entries yet. Lock the window and unlock it with the other passcode to leave.</source>
        <translation>هذا هو الدفتر المخفي. لا توجد فيه مدخلات بعد. اقفل النافذة وافتحها برمز المرور الآخر للخروج منه.</translation>
    </message>
    <message id="client_choose_dialog">
        <source>Choose a dialog on the left.</source>
        <translation>اختر محادثة من القائمة.</translation>
    </message>
    <message id="client_nobody">
        <source>Nobody is signed in. Add an account to begin.</source>
        <translation>لم يسجل أحد الدخول. أضف حسابًا للبدء.</translation>
    </message>
    <message id="client_remove">
        <source>Remove</source>
        <translation>إزالة</translation>
    </message>
    <message id="client_set">
        <source>Set</source>
        <translation>تعيين</translation>
    </message>
    <message id="client_appearance">
        <source>Appearance</source>
        <translation>المظهر</translation>
    </message>
    <message id="client_dark">
        <source>Dark theme</source>
        <translation>المظهر الداكن</translation>
    </message>
    <message id="client_font_size">
        <source>Font size</source>
        <translation>حجم الخط</translation>
    </message>
    <message id="client_font_size_hint">
        <source>%1 pixels; every message is measured anew</source>
        <translation>%1 بكسل؛ تُقاس كل الرسائل من جديد</translation>
    </message>
    <message id="client_plain">
        <source>Plain mode</source>
        <translation>الوضع البسيط</translation>
    </message>
    <message id="client_plain_hint">
        <source>Texts without formats</source>
        <translation>نصوص بلا تنسيق</translation>
    </message>
    <message id="client_large_emoji">
        <source>Large emoji</source>
        <translation>رموز تعبيرية كبيرة</translation>
    </message>
    <message id="client_large_emoji_hint">
        <source>A message of a few emoji is shown large</source>
        <translation>تظهر الرسالة المكونة من رموز قليلة كبيرة</translation>
    </message>
    <message id="client_language">
        <source>Language</source>
        <translation>اللغة</translation>
    </message>
    <message id="client_count_mute">
        <source>Count muted dialogs</source>
        <translation>عد المحادثات المكتومة</translation>
    </message>
    <message id="client_count_mute_hint">
        <source>In the badge of the account</source>
        <translation>في شارة الحساب</translation>
    </message>
    <message id="client_download">
        <source>Automatic download</source>
        <translation>التنزيل التلقائي</translation>
    </message>
    <message id="client_download_media">
        <source>Media</source>
        <translation>الوسائط</translation>
    </message>
    <message id="client_download_media_hint">
        <source>The choices below count while this is on</source>
        <translation>تسري الخيارات أدناه ما دام هذا مفعلًا</translation>
    </message>
    <message id="client_download_images">
        <source>Images in private chats and in groups</source>
        <translation>الصور في المحادثات الخاصة وفي المجموعات</translation>
    </message>
    <message id="client_download_videos">
        <source>Videos in private chats and in groups</source>
        <translation>مقاطع الفيديو في المحادثات الخاصة وفي المجموعات</translation>
    </message>
    <message id="client_download_files">
        <source>Files in private chats and in groups</source>
        <translation>الملفات في المحادثات الخاصة وفي المجموعات</translation>
    </message>
    <message id="client_proxy">
        <source>Proxy</source>
        <translation>الوكيل</translation>
    </message>
    <message id="client_proxy_on">
        <source>Connect by a proxy</source>
        <translation>الاتصال عبر وكيل</translation>
    </message>
    <message id="client_proxy_host">
        <source>Host and port</source>
        <translation>المضيف والمنفذ</translation>
    </message>
    <message id="client_lock">
        <source>Lock</source>
        <translation>القفل</translation>
    </message>
    <message id="client_passcode_hint">
        <source>Locks the window</source>
        <translation>يقفل النافذة</translation>
    </message>
    <message id="client_notebook_passcode">
        <source>Passcode of the notebook</source>
        <translation>رمز مرور الدفتر</translation>
    </message>
    <message id="client_notebook_passcode_hint">
        <source>Opens a hidden notebook instead of the accounts</source>
        <translation>يفتح دفترًا مخفيًا بدل الحسابات</translation>
    </message>
    <message id="client_destroying_passcode">
        <source>Destroying passcode</source>
        <translation>رمز مرور الإتلاف</translation>
    </message>
    <message id="client_destroying_passcode_hint">
        <source>Deletes every account, for good</source>
        <translation>يحذف كل الحسابات نهائيًا</translation>
    </message>
    <message id="client_lock_now">
        <source>Lock now</source>
        <translation>قفل الآن</translation>
    </message>
    <message id="client_lock_now_hint">
        <source>Set a passcode first</source>
        <translation>عيّن رمز مرور أولًا</translation>
    </message>
    <message id="client_console">
        <source>Debug lines in the console, by category</source>
        <translation>أسطر التصحيح في وحدة التحكم، حسب الفئة</translation>
    </message>
    <message id="client_sign_in_help">
        <source>The stand-in for the server knows two people: Mira, 5550101, and Jonas, 5550102. The code is 246810.</source>
        <translation>يعرف بديل الخادم شخصين: ميرا، 5550101، ويوناس، 5550102. الرمز هو 246810.</translation>
    </message>
    <message id="client_phone">
        <source>Telephone number</source>
        <translation>رقم الهاتف</translation>
    </message>
    <message id="client_code">
        <source>Code</source>
        <translation>الرمز</translation>
    </message>
    <message id="client_sign_in">
        <source>Sign in</source>
        <translation>تسجيل الدخول</translation>
    </message>
    <message id="client_send_code">
        <source>Send the code</source>
        <translation>إرسال الرمز</translation>
    </message>
</context>
</TS>
