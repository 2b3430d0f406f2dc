<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name></name>
    <message id="client_add_account">
        <source>Add account</source>
        <translation>添加账号</translation>
    </message>
    <message id="client_chats">
        <source>Chats</source>
        <translation>聊天</translation>
    </message>
    <message id="client_devices">
        <source>Devices</source>
        <translation>设备</translation>
    </message>
    <message id="client_move">
        <source>Move the media</source>
        <translation>移动媒体文件</translation>
    </message>
    <message id="client_log">
        <source>Log</source>
        <translation>日志</translation>
    </message>
    <message id="client_settings">
        <source>Settings</source>
        <translation>设置</translation>
    </message>
    <message id="client_contact">
        <source>Contact</source>
        <translation>联系人</translation>
    </message>
    <message id="client_combined_count" numerus="yes">
        <source>%n message(s)</source>
        <translation>
            <numerusform>%n 条消息</numerusform>
        </translation>
    </message>
    <message id="client_file_count" numerus="yes">
        <source>%n file(s)</source>
        <translation>
            <numerusform>%n 个文件</numerusform>
        </translation>
    </message>
    <message id="client_unknown_place">
        <source>Unknown place</source>
        <translation>未知地点</translation>
    </message>
    <message id="client_lottery_my_amount">
        <source>You drew %1</source>
        <translation>你抽到了 %1</translation>
    </message>
    <message id="client_lottery_drawn">
        <source>%1 of %2 drawn</source>
        <translation>已抽出 %1/%2</translation>
    </message>
    <message id="client_cannot_be_shown">
        <source>(cannot be shown here)</source>
        <translation>（无法在此显示）</translation>
    </message>
    <message id="client_show_more">
        <source>Show more</source>
        <translation>显示更多</translation>
    </message>
    <message id="client_show_spoiler">
        <source>Show spoiler</source>
        <translation>显示隐藏内容</translation>
    </message>
    <message id="client_live_photo">
        <source>Live</source>
        <translation>实况</translation>
    </message>
    <message id="client_meeting_invitation">
        <source>Invitation to a meeting</source>
        <translation>会议邀请</translation>
    </message>
    <message id="client_join_meeting">
        <source>Join</source>
        <translation>加入</translation>
    </message>
    <message id="client_newer_content">
        <source>This message needs a newer version.</source>
        <translation>此消息需要更新的版本。</translation>
    </message>
    <message id="client_poll_ended">
        <source>Final results</source>
        <translation>最终结果</translation>
    </message>
    <message id="client_poll_quiz">
        <source>Quiz</source>
        <translation>测验</translation>
    </message>
    <message id="client_poll">
        <source>Poll</source>
        <translation>投票</translation>
    </message>
    <message id="client_poll_anonymous">
        <source>anonymous</source>
        <translation>匿名</translation>
    </message>
    <message id="client_poll_multiple">
        <source>several answers</source>
        <translation>可多选</translation>
    </message>
    <message id="client_poll_right">
        <source>Right!</source>
        <translation>答对了！</translation>
    </message>
    <message id="client_poll_wrong">
        <source>Wrong.</source>
        <translation>答错了。</translation>
    </message>
    <message id="client_poll_no_votes">
        <source>No votes yet</source>
        <translation>暂无投票</translation>
    </message>
    <message id="client_poll_votes" numerus="yes">
        <source>%n vote(s)</source>
        <translation>
            <numerusform>%n 票</numerusform>
        </translation>
    </message>
    <message id="client_transfer_failed">
        <source>Failed</source>
        <translation>失败</translation>
    </message>
    <message id="client_move_ok">
        <source>Everything is in its new place.</source>
        <translation>全部文件已移到新位置。</translation>
    </message>
    <message id="client_move_failed">
        <source>Not everything has been moved. The next start goes on.</source>
        <translation>并非全部文件都已移动，下次启动时会继续。</translation>
    </message>
    <message id="client_move_given_up">
        <source>What has not been moved stays where it was.</source>
        <translation>未移动的内容保留在原处。</translation>
    </message>
    <message id="client_move_place">
        <source>Where they are</source>
        <translation>当前位置</translation>
    </message>
    <message id="client_move_target">
        <source>Where they are to be</source>
        <translation>新位置</translation>
    </message>
    <message id="client_move_target_hint">
        <source>A directory that exists</source>
        <translation>一个已有的文件夹</translation>
    </message>
    <message id="client_move_stop">
        <source>Stop</source>
        <translation>停止</translation>
    </message>
    <message id="client_move_start">
        <source>Move</source>
        <translation>移动</translation>
    </message>
    <message id="client_move_progress">
        <source>%1 % – %2 of %3</source>
        <translation>%1 % – %2 / %3</translation>
    </message>
    <message id="client_move_idle">
        <source>Nothing is being moved.</source>
        <translation>当前没有移动任务。</translation>
    </message>
    <message id="client_move_retry">
        <source>Try again</source>
        <translation>重试</translation>
    </message>
    <message id="client_move_skip">
        <source>Leave these</source>
        <translation>跳过这些</translation>
    </message>
    <message id="client_move_give_up">
        <source>Give up</source>
        <translation>放弃</translation>
    </message>
    <message id="client_devices_nobody">
        <source>Nobody is signed in, so there are no devices.</source>
        <translation>没有人登录，因此没有设备。</translation>
    </message>
    <message id="client_this_device">
        <source>%1 (this device)</source>
        <translation>%1（本设备）</translation>
    </message>
    <message id="client_sealed">
        <source>Sealed</source>
        <translation>已封存</translation>
    </message>
    <message id="client_unlink">
        <source>Unlink</source>
        <translation>解除关联</translation>
    </message>
    <message id="client_tag_friends">
        <source>Friends</source>
        <translation>朋友</translation>
    </message>
    <message id="client_tag_family">
        <source>Family</source>
        <translation>家人</translation>
    </message>
    <message id="client_tag_work">
        <source>Work</source>
        <translation>工作</translation>
    </message>
    <message id="client_tag_all">
        <source>All</source>
        <translation>全部</translation>
    </message>
    <message id="client_search">
        <source>Search</source>
        <translation>搜索</translation>
    </message>
    <message id="client_archive">
        <source>Archive</source>
        <translation>归档</translation>
    </message>
    <message id="client_unmute">
        <source>Sound on</source>
        <translation>取消静音</translation>
    </message>
    <message id="client_mute">
        <source>Mute</source>
        <translation>静音</translation>
    </message>
    <message id="client_unarchive">
        <source>Take out of the archive</source>
        <translation>取消归档</translation>
    </message>
    <message id="client_typing">
        <source>%1 is typing …</source>
        <translation>%1 正在输入…</translation>
    </message>
    <message id="client_no_match">
        <source>Nothing matches “%1”.</source>
        <translation>没有与“%1”匹配的内容。</translation>
    </message>
    <message id="client_archive_empty">
        <source>The archive is empty.</source>
        <translation>归档为空。</translation>
    </message>
    <message id="client_tag_empty">
        <source>No dialog has this tag.</source>
        <translation>没有带此标签的对话。</translation>
    </message>
    <message id="client_dialogs_empty">
        <source>Nothing has arrived yet.</source>
        <translation>还没有收到任何消息。</translation>
    </message>
    <message id="client_locked">
        <source>Locked</source>
        <translation>已锁定</translation>
    </message>
    <message id="client_passcode">
        <source>Passcode</source>
        <translation>密码</translation>
    </message>
    <message id="client_wrong_passcode">
        <source>This is not the passcode.</source>
        <translation>密码不正确。</translation>
    </message>
    <message id="client_unlock">
        <source>Unlock</source>
        <translation>解锁</translation>
    </message>
    <message id="client_log_empty">
        <source>Nothing has been logged yet.</source>
        <translation>还没有日志。</translation>
    </message>
    <message id="client_veto">
        <source>You have not sent your message. Send or delete it before you switch.</source>
        <translation>你的消息尚未发送。请先发送或删除，再切换账号。</translation>
    </message>
    <message id="client_message_count" numerus="yes">
        <source>%n message(s)</source>
        <translation>
            <numerusform>%n 条消息</numerusform>
        </translation>
    </message>
    <message id="client_next_mention">
        <source>Next mention (%1)</source>
        <translation>下一处提及（%1）</translation>
    </message>
    <message id="client_next_reaction">
        <source>Next reaction (%1)</source>
        <translation>下一个回应（%1）</translation>
    </message>
    <message id="client_write">
        <source>Message, with **bold**, __italic__ or `code`</source>
        <translation>消息，可用 **粗体**、__斜体__ 或 `代码`</translation>
    </message>
    <message id="client_send">
        <source>Send</source>
        <translation>发送</translation>
    </message>
    <message id="client_notebook">
        <source>This is the hidden notebook. It has no entries yet. Lock the window and unlock it with the other passcode to leave.</source>
        <translation>这是隐藏的笔记本，还没有内容。要离开，请锁定窗口，再用另一个密码解锁。</translation>
    </message>
    <message id="client_choose_dialog">
        <source>Choose a dialog on the left.</source>
        <translation>请从列表中选择一个对话。</translation>
    </message>
    <message id="client_nobody">
        <source>Nobody is signed in. Add an account to begin.</source>
        <translation>没有人登录。请先添加账号。</translation>
    </message>
    <message id="client_remove">
        <source>Remove</source>
        <translation>移除</translation>
    </message>
    <message id="client_set">
        <source>Set</source>
        <translation>设置</translation>
    </message>
    <message id="client_appearance">
        <source>Appearance</source>
        <translation>外观</translation>
    </message>
    <message id="client_dark">
        <source>Dark theme</source>
        <translation>深色主题</translation>
    </message>
    <message id="client_font_size">
        <source>Font size</source>
        <translation>字号</translation>
    </message>
    <message id="client_font_size_hint">
        <source>%1 pixels; every message is measured anew</source>
        <translation>%1 像素；所有消息会重新测量</translation>
    </message>
    <message id="client_plain">
        <source>Plain mode</source>
        <translation>纯文本模式</translation>
    </message>
    <message id="client_plain_hint">
        <source>Texts without formats</source>
        <translation>文字不带格式</translation>
    </message>
    <message id="client_large_emoji">
        <source>Large emoji</source>
        <translation>大号表情</translation>
    </message>
    <message id="client_large_emoji_hint">
        <source>A message of a few emoji is shown large</source>
        <translation>只有少量表情的消息会放大显示</translation>
    </message>
    <message id="client_language">
        <source>Language</source>
        <translation>语言</translation>
    </message>
    <message id="client_count_mute">
        <source>Count muted dialogs</source>
        <translation>计入静音的对话</translation>
    </message>
    <message id="client_count_mute_hint">
        <source>In the badge of the account</source>
        <translation>在账号的角标中</translation>
    </message>
    <message id="client_download">
        <source>Automatic download</source>
        <translation>自动下载</translation>
    </message>
    <message id="client_download_media">
        <source>Media</source>
        <translation>媒体</translation>
    </message>
    <message id="client_download_media_hint">
        <source>The choices below count while this is on</source>
        <translation>启用后，下面的选项才有效</translation>
    </message>
    <message id="client_download_images">
        <source>Images in private chats and in groups</source>
        <translation>私聊和群组中的图片</translation>
    </message>
    <message id="client_download_videos">
        <source>Videos in private chats and in groups</source>
        <translation>私聊和群组中的视频</translation>
    </message>
    <message id="client_download_files">
        <source>Files in private chats and in groups</source>
        <translation>私聊和群组中的文件</translation>
    </message>
    <message id="client_proxy">
        <source>Proxy</source>
        <translation>代理</translation>
    </message>
    <message id="client_proxy_on">
        <source>Connect by a proxy</source>
        <translation>通过代理连接</translation>
    </message>
    <message id="client_proxy_host">
        <source>Host and port</source>
        <translation>主机和端口</translation>
    </message>
    <message id="client_lock">
        <source>Lock</source>
        <translation>锁定</translation>
    </message>
    <message id="client_passcode_hint">
        <source>Locks the window</source>
        <translation>锁定窗口</translation>
    </message>
    <message id="client_notebook_passcode">
        <source>Passcode of the notebook</source>
        <translation>笔记本密码</translation>
    </message>
    <message id="client_notebook_passcode_hint">
        <source>Opens a hidden notebook instead of the accounts</source>
        <translation>打开隐藏的笔记本，而不是账号</translation>
    </message>
    <message id="client_destroying_passcode">
        <source>Destroying passcode</source>
        <translation>销毁密码</translation>
    </message>
    <message id="client_destroying_passcode_hint">
        <source>Deletes every account, for good</source>
        <translation>永久删除所有账号</translation>
    </message>
    <message id="client_lock_now">
        <source>Lock now</source>
        <translation>立即锁定</translation>
    </message>
    <message id="client_lock_now_hint">
        <source>Set a passcode first</source>
        <translation>请先设置密码</translation>
    </message>
    <message id="client_console">
        <source>Debug lines in the console, by category</source>
        <translation>控制台调试输出，按类别</translation>
    </message>
    <message id="client_sign_in_help">
        <source>The stand-in for the server knows two people: Mira, 5550101, and Jonas, 5550102. The code is 246810.</source>
        <translation>模拟服务器认识两个人：Mira，5550101；Jonas，5550102。验证码是 246810。</translation>
    </message>
    <message id="client_phone">
        <source>Telephone number</source>
        <translation>电话号码</translation>
    </message>
    <message id="client_code">
        <source>Code</source>
        <translation>验证码</translation>
    </message>
    <message id="client_sign_in">
        <source>Sign in</source>
        <translation>登录</translation>
    </message>
    <message id="client_send_code">
        <source>Send the code</source>
        <translation>发送验证码</translation>
    </message>
</context>
</TS>
