<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en">
<context>
    <name></name>
    <message id="accounts_not_loaded">
        <source>The accounts have not been loaded yet.</source>
        <translation>The accounts have not been loaded yet.</translation>
    </message>
    <message id="max_supported_accounts">
        <source>No more than %1 accounts can be signed in on one device.</source>
        <translation>No more than %1 accounts can be signed in on one device.</translation>
    </message>
    <message id="account_already_signed_in">
        <source>This account is already signed in on this device.</source>
        <translation>This account is already signed in on this device.</translation>
    </message>
    <message id="system_alert_unsupported">
        <source>This version cannot show what happened here</source>
        <translation>This version cannot show what happened here</translation>
    </message>
    <message id="system_alert_created">
        <source>%1 created the group</source>
        <translation>%1 created the group</translation>
    </message>
    <message id="system_alert_you_created">
        <source>You created the group</source>
        <translation>You created the group</translation>
    </message>
    <message id="system_alert_created_with_name">
        <source>%1 created the group “%2”</source>
        <translation>%1 created the group “%2”</translation>
    </message>
    <message id="system_alert_you_created_with_name">
        <source>You created the group “%2”</source>
        <translation>You created the group “%2”</translation>
    </message>
    <message id="system_alert_joined">
        <source>%1 joined the group</source>
        <translation>%1 joined the group</translation>
    </message>
    <message id="system_alert_you_joined">
        <source>You joined the group</source>
        <translation>You joined the group</translation>
    </message>
    <message id="system_alert_added">
        <source>%1 added %2</source>
        <translation>%1 added %2</translation>
    </message>
    <message id="system_alert_you_added">
        <source>You added %2</source>
        <translation>You added %2</translation>
    </message>
    <message id="system_alert_joined_by_link">
        <source>%1 joined the group by an invite link</source>
        <translation>%1 joined the group by an invite link</translation>
    </message>
    <message id="system_alert_you_joined_by_link">
        <source>You joined the group by an invite link</source>
        <translation>You joined the group by an invite link</translation>
    </message>
    <message id="system_alert_removed">
        <source>%1 removed %2</source>
        <translation>%1 removed %2</translation>
    </message>
    <message id="system_alert_you_removed">
        <source>You removed %2</source>
        <translation>You removed %2</translation>
    </message>
    <message id="system_alert_left">
        <source>%1 left the group</source>
        <translation>%1 left the group</translation>
    </message>
    <message id="system_alert_you_left">
        <source>You left the group</source>
        <translation>You left the group</translation>
    </message>
    <message id="system_alert_renamed">
        <source>%1 changed the group name</source>
        <translation>%1 changed the group name</translation>
    </message>
    <message id="system_alert_you_renamed">
        <source>You changed the group name</source>
        <translation>You changed the group name</translation>
    </message>
    <message id="system_alert_renamed_to">
        <source>%1 changed the group name to “%2”</source>
        <translation>%1 changed the group name to “%2”</translation>
    </message>
    <message id="system_alert_you_renamed_to">
        <source>You changed the group name to “%2”</source>
        <translation>You changed the group name to “%2”</translation>
    </message>
    <message id="system_alert_photo_changed">
        <source>%1 changed the group photo</source>
        <translation>%1 changed the group photo</translation>
    </message>
    <message id="system_alert_you_photo_changed">
        <source>You changed the group photo</source>
        <translation>You changed the group photo</translation>
    </message>
    <message id="system_alert_photo_deleted">
        <source>%1 removed the group photo</source>
        <translation>%1 removed the group photo</translation>
    </message>
    <message id="system_alert_you_photo_deleted">
        <source>You removed the group photo</source>
        <translation>You removed the group photo</translation>
    </message>
    <message id="system_alert_upgraded">
        <source>%1 upgraded the group</source>
        <translation>%1 upgraded the group</translation>
    </message>
    <message id="system_alert_you_upgraded">
        <source>You upgraded the group</source>
        <translation>You upgraded the group</translation>
    </message>
    <message id="system_alert_key_changed">
        <source>The security key of %1 has changed</source>
        <translation>The security key of %1 has changed</translation>
    </message>
    <message id="system_alert_my_key_changed">
        <source>Your security key has changed</source>
        <translation>Your security key has changed</translation>
    </message>
    <message id="system_alert_not_mutual">
        <source>%1 is not a mutual contact</source>
        <translation>%1 is not a mutual contact</translation>
    </message>
    <message id="system_alert_me_not_mutual">
        <source>You are not mutual contacts</source>
        <translation>You are not mutual contacts</translation>
    </message>
    <message id="system_alert_owner_changed">
        <source>%1 made %2 the owner of the group</source>
        <translation>%1 made %2 the owner of the group</translation>
    </message>
    <message id="system_alert_you_owner_changed">
        <source>You made %2 the owner of the group</source>
        <translation>You made %2 the owner of the group</translation>
    </message>
    <message id="system_alert_contact_added">
        <source>%1 added %2 as a contact</source>
        <translation>%1 added %2 as a contact</translation>
    </message>
    <message id="system_alert_you_contact_added">
        <source>You added %2 as a contact</source>
        <translation>You added %2 as a contact</translation>
    </message>
    <message id="system_alert_self_destruct_on">
        <source>%1 set messages to be deleted after %2</source>
        <translation>%1 set messages to be deleted after %2</translation>
    </message>
    <message id="system_alert_you_self_destruct_on">
        <source>You set messages to be deleted after %2</source>
        <translation>You set messages to be deleted after %2</translation>
    </message>
    <message id="system_alert_self_destruct_off">
        <source>%1 turned self-deleting messages off</source>
        <translation>%1 turned self-deleting messages off</translation>
    </message>
    <message id="system_alert_you_self_destruct_off">
        <source>You turned self-deleting messages off</source>
        <translation>You turned self-deleting messages off</translation>
    </message>
    <message id="system_alert_pinned">
        <source>%1 pinned a message</source>
        <translation>%1 pinned a message</translation>
    </message>
    <message id="system_alert_you_pinned">
        <source>You pinned a message</source>
        <translation>You pinned a message</translation>
    </message>
    <message id="system_alert_dismissed">
        <source>%1 dissolved the group</source>
        <translation>%1 dissolved the group</translation>
    </message>
    <message id="system_alert_you_dismissed">
        <source>You dissolved the group</source>
        <translation>You dissolved the group</translation>
    </message>
    <message id="system_alert_anonymous_id">
        <source>%1 has a new anonymous identity</source>
        <translation>%1 has a new anonymous identity</translation>
    </message>
    <message id="system_alert_my_anonymous_id">
        <source>You have a new anonymous identity</source>
        <translation>You have a new anonymous identity</translation>
    </message>
    <message id="system_alert_screenshot">
        <source>%1 took a screenshot</source>
        <translation>%1 took a screenshot</translation>
    </message>
    <message id="system_alert_you_screenshot">
        <source>You took a screenshot</source>
        <translation>You took a screenshot</translation>
    </message>
    <message id="system_alert_meeting_started">
        <source>%1 started a meeting</source>
        <translation>%1 started a meeting</translation>
    </message>
    <message id="system_alert_you_meeting_started">
        <source>You started a meeting</source>
        <translation>You started a meeting</translation>
    </message>
    <message id="system_alert_meeting_ended">
        <source>The meeting ended</source>
        <translation>The meeting ended</translation>
    </message>
    <message id="system_alert_face_blur_on">
        <source>%1 turned on the blurring of faces</source>
        <translation>%1 turned on the blurring of faces</translation>
    </message>
    <message id="system_alert_you_face_blur_on">
        <source>You turned on the blurring of faces</source>
        <translation>You turned on the blurring of faces</translation>
    </message>
    <message id="system_alert_face_blur_off">
        <source>%1 turned off the blurring of faces</source>
        <translation>%1 turned off the blurring of faces</translation>
    </message>
    <message id="system_alert_you_face_blur_off">
        <source>You turned off the blurring of faces</source>
        <translation>You turned off the blurring of faces</translation>
    </message>
    <message id="system_alert_receipt_complete">
        <source>Everyone has confirmed the message</source>
        <translation>Everyone has confirmed the message</translation>
    </message>
    <message id="system_alert_web_login">
        <source>%1 signed in on the web</source>
        <translation>%1 signed in on the web</translation>
    </message>
    <message id="system_alert_you_web_login">
        <source>You signed in on the web</source>
        <translation>You signed in on the web</translation>
    </message>
    <message id="system_alert_limit_off">
        <source>%1 lifted the message limit</source>
        <translation>%1 lifted the message limit</translation>
    </message>
    <message id="system_alert_you_limit_off">
        <source>You lifted the message limit</source>
        <translation>You lifted the message limit</translation>
    </message>
    <message id="system_alert_limit_count">
        <source>%1 set the chat to keep the latest %2</source>
        <translation>%1 set the chat to keep the latest %2</translation>
    </message>
    <message id="system_alert_you_limit_count">
        <source>You set the chat to keep the latest %2</source>
        <translation>You set the chat to keep the latest %2</translation>
    </message>
    <message id="system_alert_limit_days">
        <source>%1 set the chat to keep messages for %2</source>
        <translation>%1 set the chat to keep messages for %2</translation>
    </message>
    <message id="system_alert_you_limit_days">
        <source>You set the chat to keep messages for %2</source>
        <translation>You set the chat to keep messages for %2</translation>
    </message>
    <message id="system_alert_limit_both">
        <source>%1 set the chat to keep the latest %2 for %3</source>
        <translation>%1 set the chat to keep the latest %2 for %3</translation>
    </message>
    <message id="system_alert_you_limit_both">
        <source>You set the chat to keep the latest %2 for %3</source>
        <translation>You set the chat to keep the latest %2 for %3</translation>
    </message>
    <message id="system_alert_topic">
        <source>%1 updated a topic</source>
        <translation>%1 updated a topic</translation>
    </message>
    <message id="system_alert_you_topic">
        <source>You updated a topic</source>
        <translation>You updated a topic</translation>
    </message>
    <message id="system_alert_topic_updated">
        <source>%1 updated the topic “%2”</source>
        <translation>%1 updated the topic “%2”</translation>
    </message>
    <message id="system_alert_you_topic_updated">
        <source>You updated the topic “%2”</source>
        <translation>You updated the topic “%2”</translation>
    </message>
    <message id="system_alert_topic_created">
        <source>%1 created the topic “%2”</source>
        <translation>%1 created the topic “%2”</translation>
    </message>
    <message id="system_alert_you_topic_created">
        <source>You created the topic “%2”</source>
        <translation>You created the topic “%2”</translation>
    </message>
    <message id="system_alert_topic_renamed">
        <source>%1 renamed the topic “%3” to “%2”</source>
        <translation>%1 renamed the topic “%3” to “%2”</translation>
    </message>
    <message id="system_alert_you_topic_renamed">
        <source>You renamed the topic “%3” to “%2”</source>
        <translation>You renamed the topic “%3” to “%2”</translation>
    </message>
    <message id="system_alert_topic_closed">
        <source>%1 closed the topic “%2”</source>
        <translation>%1 closed the topic “%2”</translation>
    </message>
    <message id="system_alert_you_topic_closed">
        <source>You closed the topic “%2”</source>
        <translation>You closed the topic “%2”</translation>
    </message>
    <message id="system_alert_topic_reopened">
        <source>%1 reopened the topic “%2”</source>
        <translation>%1 reopened the topic “%2”</translation>
    </message>
    <message id="system_alert_you_topic_reopened">
        <source>You reopened the topic “%2”</source>
        <translation>You reopened the topic “%2”</translation>
    </message>
    <message id="system_alert_topic_archived">
        <source>%1 archived the topic “%2”</source>
        <translation>%1 archived the topic “%2”</translation>
    </message>
    <message id="system_alert_you_topic_archived">
        <source>You archived the topic “%2”</source>
        <translation>You archived the topic “%2”</translation>
    </message>
    <message id="system_alert_topic_unarchived">
        <source>%1 took the topic “%2” out of the archive</source>
        <translation>%1 took the topic “%2” out of the archive</translation>
    </message>
    <message id="system_alert_you_topic_unarchived">
        <source>You took the topic “%2” out of the archive</source>
        <translation>You took the topic “%2” out of the archive</translation>
    </message>
    <message id="system_alert_topic_moved">
        <source>%1 moved the topic “%2”</source>
        <translation>%1 moved the topic “%2”</translation>
    </message>
    <message id="system_alert_you_topic_moved">
        <source>You moved the topic “%2”</source>
        <translation>You moved the topic “%2”</translation>
    </message>
    <message id="system_alert_topic_deleted">
        <source>%1 deleted the topic “%2”</source>
        <translation>%1 deleted the topic “%2”</translation>
    </message>
    <message id="system_alert_you_topic_deleted">
        <source>You deleted the topic “%2”</source>
        <translation>You deleted the topic “%2”</translation>
    </message>
    <message id="system_alert_topics_on">
        <source>%1 turned on topics</source>
        <translation>%1 turned on topics</translation>
    </message>
    <message id="system_alert_you_topics_on">
        <source>You turned on topics</source>
        <translation>You turned on topics</translation>
    </message>
    <message id="system_alert_dismiss_at">
        <source>%1 set the group to be dissolved on %2</source>
        <translation>%1 set the group to be dissolved on %2</translation>
    </message>
    <message id="system_alert_you_dismiss_at">
        <source>You set the group to be dissolved on %2</source>
        <translation>You set the group to be dissolved on %2</translation>
    </message>
    <message id="system_alert_dismiss_off">
        <source>%1 set the group to stay</source>
        <translation>%1 set the group to stay</translation>
    </message>
    <message id="system_alert_you_dismiss_off">
        <source>You set the group to stay</source>
        <translation>You set the group to stay</translation>
    </message>
    <message id="system_alert_restricted_on">
        <source>%1 turned on restricted mode</source>
        <translation>%1 turned on restricted mode</translation>
    </message>
    <message id="system_alert_you_restricted_on">
        <source>You turned on restricted mode</source>
        <translation>You turned on restricted mode</translation>
    </message>
    <message id="system_alert_restricted_off">
        <source>%1 turned off restricted mode</source>
        <translation>%1 turned off restricted mode</translation>
    </message>
    <message id="system_alert_you_restricted_off">
        <source>You turned off restricted mode</source>
        <translation>You turned off restricted mode</translation>
    </message>
    <message id="system_alert_voice_expired">
        <source>The voice message has expired</source>
        <translation>The voice message has expired</translation>
    </message>
    <message id="system_alert_media_expired">
        <source>The media have expired</source>
        <translation>The media have expired</translation>
    </message>
    <message id="system_alert_photo_expired">
        <source>The photo has expired</source>
        <translation>The photo has expired</translation>
    </message>
    <message id="system_alert_video_expired">
        <source>The video has expired</source>
        <translation>The video has expired</translation>
    </message>
    <message id="system_alert_theme">
        <source>%1 changed the theme of the chat</source>
        <translation>%1 changed the theme of the chat</translation>
    </message>
    <message id="system_alert_you_theme">
        <source>You changed the theme of the chat</source>
        <translation>You changed the theme of the chat</translation>
    </message>
    <message id="system_alert_theme_to">
        <source>%1 changed the theme of the chat to “%2”</source>
        <translation>%1 changed the theme of the chat to “%2”</translation>
    </message>
    <message id="system_alert_you_theme_to">
        <source>You changed the theme of the chat to “%2”</source>
        <translation>You changed the theme of the chat to “%2”</translation>
    </message>
    <message id="system_alert_wallpaper">
        <source>%1 changed the background of the chat</source>
        <translation>%1 changed the background of the chat</translation>
    </message>
    <message id="system_alert_you_wallpaper">
        <source>You changed the background of the chat</source>
        <translation>You changed the background of the chat</translation>
    </message>
    <message id="system_alert_wallpaper_off">
        <source>%1 removed the background of the chat</source>
        <translation>%1 removed the background of the chat</translation>
    </message>
    <message id="system_alert_you_wallpaper_off">
        <source>You removed the background of the chat</source>
        <translation>You removed the background of the chat</translation>
    </message>
    <message id="system_alert_you_among_others">
        <source>you</source>
        <translation>you</translation>
    </message>
    <message id="system_alert_you_object">
        <source>you</source>
        <translation>you</translation>
    </message>
    <message id="list_separator">
        <source>, </source>
        <translation>, </translation>
    </message>
    <message id="system_alert_messages" numerus="yes">
        <source>%n messages</source>
        <translation>
            <numerusform>message</numerusform>
            <numerusform>%n messages</numerusform>
        </translation>
    </message>
    <message id="system_alert_days" numerus="yes">
        <source>%n days</source>
        <translation>
            <numerusform>%n day</numerusform>
            <numerusform>%n days</numerusform>
        </translation>
    </message>
    <message id="system_alert_hours" numerus="yes">
        <source>%n hours</source>
        <translation>
            <numerusform>%n hour</numerusform>
            <numerusform>%n hours</numerusform>
        </translation>
    </message>
    <message id="system_alert_minutes" numerus="yes">
        <source>%n minutes</source>
        <translation>
            <numerusform>%n minute</numerusform>
            <numerusform>%n minutes</numerusform>
        </translation>
    </message>
    <message id="system_alert_seconds" numerus="yes">
        <source>%n seconds</source>
        <translation>
            <numerusform>%n second</numerusform>
            <numerusform>%n seconds</numerusform>
        </translation>
    </message>
    <message id="system_alert_someone">
        <source>Someone</source>
        <translation>Someone</translation>
    </message>
    <message id="system_alert_someone_object">
        <source>someone</source>
        <translation>someone</translation>
    </message>
    <message id="call">
        <source>Call</source>
        <translation>Call</translation>
    </message>
    <message id="call_outgoing">
        <source>Calling…</source>
        <translation>Calling…</translation>
    </message>
    <message id="call_incoming">
        <source>Incoming call</source>
        <translation>Incoming call</translation>
    </message>
    <message id="call_in_progress">
        <source>Call in progress</source>
        <translation>Call in progress</translation>
    </message>
    <message id="call_was_declined">
        <source>Call declined</source>
        <translation>Call declined</translation>
    </message>
    <message id="call_you_declined">
        <source>You declined the call</source>
        <translation>You declined the call</translation>
    </message>
    <message id="call_no_answer">
        <source>No answer</source>
        <translation>No answer</translation>
    </message>
    <message id="call_missed">
        <source>Missed call</source>
        <translation>Missed call</translation>
    </message>
    <message id="call_you_cancelled">
        <source>You cancelled the call</source>
        <translation>You cancelled the call</translation>
    </message>
    <message id="call_finished">
        <source>Call %1</source>
        <translation>Call %1</translation>
    </message>
    <message id="call_failed">
        <source>Call failed</source>
        <translation>Call failed</translation>
    </message>
    <message id="call_busy">
        <source>Line busy</source>
        <translation>Line busy</translation>
    </message>
    <message id="call_missed_while_busy">
        <source>Missed call while you were busy</source>
        <translation>Missed call while you were busy</translation>
    </message>
    <message id="storage_file_in_use_tip">
        <source>It is still being written.</source>
        <translation>It is still being written.</translation>
    </message>
    <message id="storage_file_unreadable_tip">
        <source>It cannot be read.</source>
        <translation>It cannot be read.</translation>
    </message>
    <message id="storage_file_not_writable_tip">
        <source>It cannot be written at the new place.</source>
        <translation>It cannot be written at the new place.</translation>
    </message>
    <message id="storage_file_in_the_way_tip">
        <source>Something else is in its way at the new place.</source>
        <translation>Something else is in its way at the new place.</translation>
    </message>
    <message id="storage_file_not_removable_tip">
        <source>It has been copied, but cannot be removed from the old place.</source>
        <translation>It has been copied, but cannot be removed from the old place.</translation>
    </message>
    <message id="storage_move_running_tip">
        <source>A move is under way.</source>
        <translation>A move is under way.</translation>
    </message>
    <message id="storage_move_unfinished_tip">
        <source>The last move has not finished yet.</source>
        <translation>The last move has not finished yet.</translation>
    </message>
    <message id="storage_old_place_missing_tip">
        <source>The old place is not there. Is its disk connected?</source>
        <translation>The old place is not there. Is its disk connected?</translation>
    </message>
    <message id="storage_place_relative_tip">
        <source>The new place needs a full path.</source>
        <translation>The new place needs a full path.</translation>
    </message>
    <message id="storage_place_missing_tip">
        <source>The new place does not exist.</source>
        <translation>The new place does not exist.</translation>
    </message>
    <message id="storage_place_no_directory_tip">
        <source>The new place is not a directory.</source>
        <translation>The new place is not a directory.</translation>
    </message>
    <message id="storage_place_same_tip">
        <source>The files are there already.</source>
        <translation>The files are there already.</translation>
    </message>
    <message id="storage_place_inside_tip">
        <source>The new place lies inside the present one.</source>
        <translation>The new place lies inside the present one.</translation>
    </message>
    <message id="storage_place_around_tip">
        <source>The present place lies inside the new one.</source>
        <translation>The present place lies inside the new one.</translation>
    </message>
    <message id="storage_space_insufficient_tip">
        <source>There is not enough space at the new place.</source>
        <translation>There is not enough space at the new place.</translation>
    </message>
    <message id="storage_no_permissions__tip">
        <source>The new place cannot be written to.</source>
        <translation>The new place cannot be written to.</translation>
    </message>
    <message id="storage_files_left_tip">
        <source>Some files could not be moved.</source>
        <translation>Some files could not be moved.</translation>
    </message>
    <message id="storage_files_in_use_tip">
        <source>Some files are still being written. They follow later.</source>
        <translation>Some files are still being written. They follow later.</translation>
    </message>
    <message id="storage_settings_not_stored_tip">
        <source>The settings cannot be stored just now.</source>
        <translation>The settings cannot be stored just now.</translation>
    </message>
</context>
</TS>
