<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name></name>
    <message id="accounts_not_loaded">
        <source>The accounts have not been loaded yet.</source>
        <translation>账号尚未加载。</translation>
    </message>
    <message id="max_supported_accounts">
        <source>No more than %1 accounts can be signed in on one device.</source>
        <translation>一台设备上最多只能登录 %1 个账号。</translation>
    </message>
    <message id="account_already_signed_in">
        <source>This account is already signed in on this device.</source>
        <translation>该账号已在此设备上登录。</translation>
    </message>
    <message id="system_alert_unsupported">
        <source>This version cannot show what happened here</source>
        <translation>此版本无法显示这里发生的事情</translation>
    </message>
    <message id="system_alert_created">
        <source>%1 created the group</source>
        <translation>%1 创建了群组</translation>
    </message>
    <message id="system_alert_you_created">
        <source>You created the group</source>
        <translation>你创建了群组</translation>
    </message>
    <message id="system_alert_created_with_name">
        <source>%1 created the group “%2”</source>
        <translation>%1 创建了群组“%2”</translation>
    </message>
    <message id="system_alert_you_created_with_name">
        <source>You created the group “%2”</source>
        <translation>你创建了群组“%2”</translation>
    </message>
    <message id="system_alert_joined">
        <source>%1 joined the group</source>
        <translation>%1 加入了群组</translation>
    </message>
    <message id="system_alert_you_joined">
        <source>You joined the group</source>
        <translation>你加入了群组</translation>
    </message>
    <message id="system_alert_added">
        <source>%1 added %2</source>
        <translation>%1 添加了 %2</translation>
    </message>
    <message id="system_alert_you_added">
        <source>You added %2</source>
        <translation>你添加了 %2</translation>
    </message>
    <message id="system_alert_joined_by_link">
        <source>%1 joined the group by an invite link</source>
        <translation>%1 通过邀请链接加入了群组</translation>
    </message>
    <message id="system_alert_you_joined_by_link">
        <source>You joined the group by an invite link</source>
        <translation>你通过邀请链接加入了群组</translation>
    </message>
    <message id="system_alert_removed">
        <source>%1 removed %2</source>
        <translation>%1 移除了 %2</translation>
    </message>
    <message id="system_alert_you_removed">
        <source>You removed %2</source>
        <translation>你移除了 %2</translation>
    </message>
    <message id="system_alert_left">
        <source>%1 left the group</source>
        <translation>%1 退出了群组</translation>
    </message>
    <message id="system_alert_you_left">
        <source>You left the group</source>
        <translation>你退出了群组</translation>
    </message>
    <message id="system_alert_renamed">
        <source>%1 changed the group name</source>
        <translation>%1 更改了群组名称</translation>
    </message>
    <message id="system_alert_you_renamed">
        <source>You changed the group name</source>
        <translation>你更改了群组名称</translation>
    </message>
    <message id="system_alert_renamed_to">
        <source>%1 changed the group name to “%2”</source>
        <translation>%1 将群组名称更改为“%2”</translation>
    </message>
    <message id="system_alert_you_renamed_to">
        <source>You changed the group name to “%2”</source>
        <translation>你将群组名称更改为“%2”</translation>
    </message>
    <message id="system_alert_photo_changed">
        <source>%1 changed the group photo</source>
        <translation>%1 更改了群组头像</translation>
    </message>
    <message id="system_alert_you_photo_changed">
        <source>You changed the group photo</source>
        <translation>你更改了群组头像</translation>
    </message>
    <message id="system_alert_photo_deleted">
        <source>%1 removed the group photo</source>
        <translation>%1 移除了群组头像</translation>
    </message>
    <message id="system_alert_you_photo_deleted">
        <source>You removed the group photo</source>
        <translation>你移除了群组头像</translation>
    </message>
    <message id="system_alert_upgraded">
        <source>%1 upgraded the group</source>
        <translation>%1 升级了群组</translation>
    </message>
    <message id="system_alert_you_upgraded">
        <source>You upgraded the group</source>
        <translation>你升级了群组</translation>
    </message>
    <message id="system_alert_key_changed">
        <source>The security key of %1 has changed</source>
        <translation>%1 的安全密钥已更改</translation>
    </message>
    <message id="system_alert_my_key_changed">
        <source>Your security key has changed</source>
        <translation>你的安全密钥已更改</translation>
    </message>
    <message id="system_alert_not_mutual">
        <source>%1 is not a mutual contact</source>
        <translation>%1 不是你的双向联系人</translation>
    </message>
    <message id="system_alert_me_not_mutual">
        <source>You are not mutual contacts</source>
        <translation>你们不是双向联系人</translation>
    </message>
    <message id="system_alert_owner_changed">
        <source>%1 made %2 the owner of the group</source>
        <translation>%1 将 %2 设为群主</translation>
    </message>
    <message id="system_alert_you_owner_changed">
        <source>You made %2 the owner of the group</source>
        <translation>你将 %2 设为群主</translation>
    </message>
    <message id="system_alert_contact_added">
        <source>%1 added %2 as a contact</source>
        <translation>%1 将 %2 添加为联系人</translation>
    </message>
    <message id="system_alert_you_contact_added">
        <source>You added %2 as a contact</source>
        <translation>你将 %2 添加为联系人</translation>
    </message>
    <message id="system_alert_self_destruct_on">
        <source>%1 set messages to be deleted after %2</source>
        <translation>%1 将消息设为 %2后自动删除</translation>
    </message>
    <message id="system_alert_you_self_destruct_on">
        <source>You set messages to be deleted after %2</source>
        <translation>你将消息设为 %2后自动删除</translation>
    </message>
    <message id="system_alert_self_destruct_off">
        <source>%1 turned self-deleting messages off</source>
        <translation>%1 关闭了消息自动删除</translation>
    </message>
    <message id="system_alert_you_self_destruct_off">
        <source>You turned self-deleting messages off</source>
        <translation>你关闭了消息自动删除</translation>
    </message>
    <message id="system_alert_pinned">
        <source>%1 pinned a message</source>
        <translation>%1 置顶了一条消息</translation>
    </message>
    <message id="system_alert_you_pinned">
        <source>You pinned a message</source>
        <translation>你置顶了一条消息</translation>
    </message>
    <message id="system_alert_dismissed">
        <source>%1 dissolved the group</source>
        <translation>%1 解散了群组</translation>
    </message>
    <message id="system_alert_you_dismissed">
        <source>You dissolved the group</source>
        <translation>你解散了群组</translation>
    </message>
    <message id="system_alert_anonymous_id">
        <source>%1 has a new anonymous identity</source>
        <translation>%1 有了新的匿名身份</translation>
    </message>
    <message id="system_alert_my_anonymous_id">
        <source>You have a new anonymous identity</source>
        <translation>你有了新的匿名身份</translation>
    </message>
    <message id="system_alert_screenshot">
        <source>%1 took a screenshot</source>
        <translation>%1 截取了屏幕</translation>
    </message>
    <message id="system_alert_you_screenshot">
        <source>You took a screenshot</source>
        <translation>你截取了屏幕</translation>
    </message>
    <message id="system_alert_meeting_started">
        <source>%1 started a meeting</source>
        <translation>%1 发起了会议</translation>
    </message>
    <message id="system_alert_you_meeting_started">
        <source>You started a meeting</source>
        <translation>你发起了会议</translation>
    </message>
    <message id="system_alert_meeting_ended">
        <source>The meeting ended</source>
        <translation>会议已结束</translation>
    </message>
    <message id="system_alert_face_blur_on">
        <source>%1 turned on the blurring of faces</source>
        <translation>%1 开启了面部模糊</translation>
    </message>
    <message id="system_alert_you_face_blur_on">
        <source>You turned on the blurring of faces</source>
        <translation>你开启了面部模糊</translation>
    </message>
    <message id="system_alert_face_blur_off">
        <source>%1 turned off the blurring of faces</source>
        <translation>%1 关闭了面部模糊</translation>
    </message>
    <message id="system_alert_you_face_blur_off">
        <source>You turned off the blurring of faces</source>
        <translation>你关闭了面部模糊</translation>
    </message>
    <message id="system_alert_receipt_complete">
        <source>Everyone has confirmed the message</source>
        <translation>所有人都已确认该消息</translation>
    </message>
    <message id="system_alert_web_login">
        <source>%1 signed in on the web</source>
        <translation>%1 在网页端登录了</translation>
    </message>
    <message id="system_alert_you_web_login">
        <source>You signed in on the web</source>
        <translation>你在网页端登录了</translation>
    </message>
    <message id="system_alert_limit_off">
        <source>%1 lifted the message limit</source>
        <translation>%1 取消了消息数量限制</translation>
    </message>
    <message id="system_alert_you_limit_off">
        <source>You lifted the message limit</source>
        <translation>你取消了消息数量限制</translation>
    </message>
    <message id="system_alert_limit_count">
        <source>%1 set the chat to keep the latest %2</source>
        <translation>%1 将聊天设为保留最近 %2</translation>
    </message>
    <message id="system_alert_you_limit_count">
        <source>You set the chat to keep the latest %2</source>
        <translation>你将聊天设为保留最近 %2</translation>
    </message>
    <message id="system_alert_limit_days">
        <source>%1 set the chat to keep messages for %2</source>
        <translation>%1 将聊天设为保留 %2内的消息</translation>
    </message>
    <message id="system_alert_you_limit_days">
        <source>You set the chat to keep messages for %2</source>
        <translation>你将聊天设为保留 %2内的消息</translation>
    </message>
    <message id="system_alert_limit_both">
        <source>%1 set the chat to keep the latest %2 for %3</source>
        <translation>%1 将聊天设为保留 %3内的最近 %2</translation>
    </message>
    <message id="system_alert_you_limit_both">
        <source>You set the chat to keep the latest %2 for %3</source>
        <translation>你将聊天设为保留 %3内的最近 %2</translation>
    </message>
    <message id="system_alert_topic">
        <source>%1 updated a topic</source>
        <translation>%1 更新了一个话题</translation>
    </message>
    <message id="system_alert_you_topic">
        <source>You updated a topic</source>
        <translation>你更新了一个话题</translation>
    </message>
    <message id="system_alert_topic_updated">
        <source>%1 updated the topic “%2”</source>
        <translation>%1 更新了话题“%2”</translation>
    </message>
    <message id="system_alert_you_topic_updated">
        <source>You updated the topic “%2”</source>
        <translation>你更新了话题“%2”</translation>
    </message>
    <message id="system_alert_topic_created">
        <source>%1 created the topic “%2”</source>
        <translation>%1 创建了话题“%2”</translation>
    </message>
    <message id="system_alert_you_topic_created">
        <source>You created the topic “%2”</source>
        <translation>你创建了话题“%2”</translation>
    </message>
    <message id="system_alert_topic_renamed">
        <source>%1 renamed the topic “%3” to “%2”</source>
        <translation>%1 将话题“%3”更名为“%2”</translation>
    </message>
    <message id="system_alert_you_topic_renamed">
        <source>You renamed the topic “%3” to “%2”</source>
        <translation>你将话题“%3”更名为“%2”</translation>
    </message>
    <message id="system_alert_topic_closed">
        <source>%1 closed the topic “%2”</source>
        <translation>%1 关闭了话题“%2”</translation>
    </message>
    <message id="system_alert_you_topic_closed">
        <source>You closed the topic “%2”</source>
        <translation>你关闭了话题“%2”</translation>
    </message>
    <message id="system_alert_topic_reopened">
        <source>%1 reopened the topic “%2”</source>
        <translation>%1 重新开启了话题“%2”</translation>
    </message>
    <message id="system_alert_you_topic_reopened">
        <source>You reopened the topic “%2”</source>
        <translation>你重新开启了话题“%2”</translation>
    </message>
    <message id="system_alert_topic_archived">
        <source>%1 archived the topic “%2”</source>
        <translation>%1 归档了话题“%2”</translation>
    </message>
    <message id="system_alert_you_topic_archived">
        <source>You archived the topic “%2”</source>
        <translation>你归档了话题“%2”</translation>
    </message>
    <message id="system_alert_topic_unarchived">
        <source>%1 took the topic “%2” out of the archive</source>
        <translation>%1 将话题“%2”移出了归档</translation>
    </message>
    <message id="system_alert_you_topic_unarchived">
        <source>You took the topic “%2” out of the archive</source>
        <translation>你将话题“%2”移出了归档</translation>
    </message>
    <message id="system_alert_topic_moved">
        <source>%1 moved the topic “%2”</source>
        <translation>%1 移动了话题“%2”</translation>
    </message>
    <message id="system_alert_you_topic_moved">
        <source>You moved the topic “%2”</source>
        <translation>你移动了话题“%2”</translation>
    </message>
    <message id="system_alert_topic_deleted">
        <source>%1 deleted the topic “%2”</source>
        <translation>%1 删除了话题“%2”</translation>
    </message>
    <message id="system_alert_you_topic_deleted">
        <source>You deleted the topic “%2”</source>
        <translation>你删除了话题“%2”</translation>
    </message>
    <message id="system_alert_topics_on">
        <source>%1 turned on topics</source>
        <translation>%1 开启了话题</translation>
    </message>
    <message id="system_alert_you_topics_on">
        <source>You turned on topics</source>
        <translation>你开启了话题</translation>
    </message>
    <message id="system_alert_dismiss_at">
        <source>%1 set the group to be dissolved on %2</source>
        <translation>%1 将群组设为于 %2解散</translation>
    </message>
    <message id="system_alert_you_dismiss_at">
        <source>You set the group to be dissolved on %2</source>
        <translation>你将群组设为于 %2解散</translation>
    </message>
    <message id="system_alert_dismiss_off">
        <source>%1 set the group to stay</source>
        <translation>%1 取消了群组的定时解散</translation>
    </message>
    <message id="system_alert_you_dismiss_off">
        <source>You set the group to stay</source>
        <translation>你取消了群组的定时解散</translation>
    </message>
    <message id="system_alert_restricted_on">
        <source>%1 turned on restricted mode</source>
        <translation>%1 开启了受限模式</translation>
    </message>
    <message id="system_alert_you_restricted_on">
        <source>You turned on restricted mode</source>
        <translation>你开启了受限模式</translation>
    </message>
    <message id="system_alert_restricted_off">
        <source>%1 turned off restricted mode</source>
        <translation>%1 关闭了受限模式</translation>
    </message>
    <message id="system_alert_you_restricted_off">
        <source>You turned off restricted mode</source>
        <translation>你关闭了受限模式</translation>
    </message>
    <message id="system_alert_voice_expired">
        <source>The voice message has expired</source>
        <translation>语音消息已过期</translation>
    </message>
    <message id="system_alert_media_expired">
        <source>The media have expired</source>
        <translation>媒体内容已过期</translation>
    </message>
    <message id="system_alert_photo_expired">
        <source>The photo has expired</source>
        <translation>照片已过期</translation>
    </message>
    <message id="system_alert_video_expired">
        <source>The video has expired</source>
        <translation>视频已过期</translation>
    </message>
    <message id="system_alert_theme">
        <source>%1 changed the theme of the chat</source>
        <translation>%1 更改了聊天主题</translation>
    </message>
    <message id="system_alert_you_theme">
        <source>You changed the theme of the chat</source>
        <translation>你更改了聊天主题</translation>
    </message>
    <message id="system_alert_theme_to">
        <source>%1 changed the theme of the chat to “%2”</source>
        <translation>%1 将聊天主题更改为“%2”</translation>
    </message>
    <message id="system_alert_you_theme_to">
        <source>You changed the theme of the chat to “%2”</source>
        <translation>你将聊天主题更改为“%2”</translation>
    </message>
    <message id="system_alert_wallpaper">
        <source>%1 changed the background of the chat</source>
        <translation>%1 更改了聊天背景</translation>
    </message>
    <message id="system_alert_you_wallpaper">
        <source>You changed the background of the chat</source>
        <translation>你更改了聊天背景</translation>
    </message>
    <message id="system_alert_wallpaper_off">
        <source>%1 removed the background of the chat</source>
        <translation>%1 移除了聊天背景</translation>
    </message>
    <message id="system_alert_you_wallpaper_off">
        <source>You removed the background of the chat</source>
        <translation>你移除了聊天背景</translation>
    </message>
    <message id="system_alert_you_among_others">
        <source>you</source>
        <translation>你</translation>
    </message>
    <message id="system_alert_you_object">
        <source>you</source>
        <translation>你</translation>
    </message>
    <message id="list_separator">
        <source>, </source>
        <translation>、</translation>
    </message>
    <message id="system_alert_messages" numerus="yes">
        <source>%n messages</source>
        <translation>
            <numerusform>%n 条消息</numerusform>
        </translation>
    </message>
    <message id="system_alert_days" numerus="yes">
        <source>%n days</source>
        <translation>
            <numerusform>%n 天</numerusform>
        </translation>
    </message>
    <message id="system_alert_hours" numerus="yes">
        <source>%n hours</source>
        <translation>
            <numerusform>%n 小时</numerusform>
        </translation>
    </message>
    <message id="system_alert_minutes" numerus="yes">
        <source>%n minutes</source>
        <translation>
            <numerusform>%n 分钟</numerusform>
        </translation>
    </message>
    <message id="system_alert_seconds" numerus="yes">
        <source>%n seconds</source>
        <translation>
            <numerusform>%n 秒</numerusform>
        </translation>
    </message>
    <message id="system_alert_someone">
        <source>Someone</source>
        <translation>有人</translation>
    </message>
    <message id="system_alert_someone_object">
        <source>someone</source>
        <translation>某人</translation>
    </message>
    <message id="call">
        <source>Call</source>
        <translation>通话</translation>
    </message>
    <message id="call_outgoing">
        <source>Calling…</source>
        <translation>正在呼叫…</translation>
    </message>
    <message id="call_incoming">
        <source>Incoming call</source>
        <translation>来电</translation>
    </message>
    <message id="call_in_progress">
        <source>Call in progress</source>
        <translation>通话中</translation>
    </message>
    <message id="call_was_declined">
        <source>Call declined</source>
        <translation>对方已拒绝</translation>
    </message>
    <message id="call_you_declined">
        <source>You declined the call</source>
        <translation>你已拒绝通话</translation>
    </message>
    <message id="call_no_answer">
        <source>No answer</source>
        <translation>无人接听</translation>
    </message>
    <message id="call_missed">
        <source>Missed call</source>
        <translation>未接来电</translation>
    </message>
    <message id="call_you_cancelled">
        <source>You cancelled the call</source>
        <translation>你已取消通话</translation>
    </message>
    <message id="call_finished">
        <source>Call %1</source>
        <translation>通话 %1</translation>
    </message>
    <message id="call_failed">
        <source>Call failed</source>
        <translation>通话失败</translation>
    </message>
    <message id="call_busy">
        <source>Line busy</source>
        <translation>线路忙</translation>
    </message>
    <message id="call_missed_while_busy">
        <source>Missed call while you were busy</source>
        <translation>忙线时的未接来电</translation>
    </message>
    <message id="storage_file_in_use_tip">
        <source>It is still being written.</source>
        <translation>该文件仍在写入。</translation>
    </message>
    <message id="storage_file_unreadable_tip">
        <source>It cannot be read.</source>
        <translation>无法读取。</translation>
    </message>
    <message id="storage_file_not_writable_tip">
        <source>It cannot be written at the new place.</source>
        <translation>无法写入新位置。</translation>
    </message>
    <message id="storage_file_in_the_way_tip">
        <source>Something else is in its way at the new place.</source>
        <translation>新位置上有其他内容占用了它的位置。</translation>
    </message>
    <message id="storage_file_not_removable_tip">
        <source>It has been copied, but cannot be removed from the old place.</source>
        <translation>已复制，但无法从旧位置删除。</translation>
    </message>
    <message id="storage_move_running_tip">
        <source>A move is under way.</source>
        <translation>正在移动。</translation>
    </message>
    <message id="storage_move_unfinished_tip">
        <source>The last move has not finished yet.</source>
        <translation>上一次移动尚未完成。</translation>
    </message>
    <message id="storage_old_place_missing_tip">
        <source>The old place is not there. Is its disk connected?</source>
        <translation>旧位置不存在。磁盘是否已连接？</translation>
    </message>
    <message id="storage_place_relative_tip">
        <source>The new place needs a full path.</source>
        <translation>请输入新位置的完整路径。</translation>
    </message>
    <message id="storage_place_missing_tip">
        <source>The new place does not exist.</source>
        <translation>新位置不存在。</translation>
    </message>
    <message id="storage_place_no_directory_tip">
        <source>The new place is not a directory.</source>
        <translation>新位置不是文件夹。</translation>
    </message>
    <message id="storage_place_same_tip">
        <source>The files are there already.</source>
        <translation>文件已在该位置。</translation>
    </message>
    <message id="storage_place_inside_tip">
        <source>The new place lies inside the present one.</source>
        <translation>新位置在当前位置之内。</translation>
    </message>
    <message id="storage_place_around_tip">
        <source>The present place lies inside the new one.</source>
        <translation>当前位置在新位置之内。</translation>
    </message>
    <message id="storage_space_insufficient_tip">
        <source>There is not enough space at the new place.</source>
        <translation>新位置的空间不足。</translation>
    </message>
    <message id="storage_no_permissions__tip">
        <source>The new place cannot be written to.</source>
        <translation>无法写入新位置。</translation>
    </message>
    <message id="storage_files_left_tip">
        <source>Some files could not be moved.</source>
        <translation>部分文件无法移动。</translation>
    </message>
    <message id="storage_files_in_use_tip">
        <source>Some files are still being written. They follow later.</source>
        <translation>部分文件仍在写入，稍后会继续移动。</translation>
    </message>
    <message id="storage_settings_not_stored_tip">
        <source>The settings cannot be stored just now.</source>
        <translation>目前无法保存设置。</translation>
    </message>
</context>
</TS>
