<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name></name>
    <message id="client_add_account">
        <source>Add account</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_chats">
        <source>Chats</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_devices">
        <source>Devices</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move">
        <source>Move the media</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_log">
        <source>Log</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_settings">
        <source>Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_contact">
        <source>Contact</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_combined_count" numerus="yes">
        <source>%n message(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message id="client_file_count" numerus="yes">
        <source>%n file(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message id="client_unknown_place">
        <source>Unknown place</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_lottery_my_amount">
        <source>You drew %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_lottery_drawn">
        <source>%1 of %2 drawn</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_cannot_be_shown">
        <source>(cannot be shown here)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_show_spoiler">
        <source>Show spoiler</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_live_photo">
        <source>Live</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_meeting_invitation">
        <source>Invitation to a meeting</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_join_meeting">
        <source>Join</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_newer_content">
        <source>This message needs a newer version.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll_ended">
        <source>Final results</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll_quiz">
        <source>Quiz</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll">
        <source>Poll</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll_anonymous">
        <source>anonymous</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll_multiple">
        <source>several answers</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll_right">
        <source>Right!</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll_wrong">
        <source>Wrong.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll_no_votes">
        <source>No votes yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_poll_votes" numerus="yes">
        <source>%n vote(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message id="client_transfer_failed">
        <source>Failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_ok">
        <source>Everything is in its new place.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_failed">
        <source>Not everything has been moved. The next start goes on.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_place">
        <source>Where they are</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_target">
        <source>Where they are to be</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_target_hint">
        <source>A directory that exists</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_stop">
        <source>Stop</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_start">
        <source>Move</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_progress">
        <source>%1 % – %2 of %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_move_idle">
        <source>Nothing is being moved.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_devices_nobody">
        <source>Nobody is signed in, so there are no devices.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_this_device">
        <source>%1 (this device)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_sealed">
        <source>Sealed</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_unlink">
        <source>Unlink</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_tag_friends">
        <source>Friends</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_tag_family">
        <source>Family</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_tag_work">
        <source>Work</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_tag_all">
        <source>All</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_search">
        <source>Search</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_archive">
        <source>Archive</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_unmute">
        <source>Sound on</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_mute">
        <source>Mute</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_unarchive">
        <source>Take out of the archive</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_typing">
        <source>%1 is typing …</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_no_match">
        <source>Nothing matches “%1”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_archive_empty">
        <source>The archive is empty.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_tag_empty">
        <source>No dialog has this tag.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_dialogs_empty">
        <source>Nothing has arrived yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_locked">
        <source>Locked</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_passcode">
        <source>Passcode</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_wrong_passcode">
        <source>This is not the passcode.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_unlock">
        <source>Unlock</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_log_empty">
        <source>Nothing has been logged yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_veto">
        <source>You have not sent your message. Send or delete it before you switch.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_message_count" numerus="yes">
        <source>%n message(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message id="client_next_mention">
        <source>Next mention (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_next_reaction">
        <source>Next reaction (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_write">
        <source>Message, with **bold**, __italic__ or `code`</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_send">
        <source>Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_notebook">
        <source>This is the hidden notebook. It has no entries yet. Lock the window and unlock it with the other passcode to leave.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_choose_dialog">
        <source>Choose a dialog on the left.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_nobody">
        <source>Nobody is signed in. Add an account to begin.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_remove">
        <source>Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_set">
        <source>Set</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_appearance">
        <source>Appearance</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_dark">
        <source>Dark theme</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_font_size">
        <source>Font size</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_font_size_hint">
        <source>%1 pixels; every message is measured anew</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_plain">
        <source>Plain mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_plain_hint">
        <source>Texts without formats</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_large_emoji">
        <source>Large emoji</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_large_emoji_hint">
        <source>A message of a few emoji is shown large</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_language">
        <source>Language</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_count_mute">
        <source>Count muted dialogs</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_count_mute_hint">
        <source>In the badge of the account</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_download">
        <source>Automatic download</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_download_media">
        <source>Media</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_download_media_hint">
        <source>The choices below count while this is on</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_download_images">
        <source>Images in private chats and in groups</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_download_videos">
        <source>Videos in private chats and in groups</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_download_files">
        <source>Files in private chats and in groups</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_proxy">
        <source>Proxy</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_proxy_on">
        <source>Connect by a proxy</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_proxy_host">
        <source>Host and port</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_lock">
        <source>Lock</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_passcode_hint">
        <source>Locks the window</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_notebook_passcode">
        <source>Passcode of the notebook</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_notebook_passcode_hint">
        <source>Opens a hidden notebook instead of the accounts</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_destroying_passcode">
        <source>Destroying passcode</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_destroying_passcode_hint">
        <source>Deletes every account, for good</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_lock_now">
        <source>Lock now</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_lock_now_hint">
        <source>Set a passcode first</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_console">
        <source>Debug lines in the console, by category</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_sign_in_help">
        <source>The stand-in for the server knows two people: Mira, 5550101, and Jonas, 5550102. The code is 246810.</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_phone">
        <source>Telephone number</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_code">
        <source>Code</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_sign_in">
        <source>Sign in</source>
        <translation type="unfinished"></translation>
    </message>
    <message id="client_send_code">
        <source>Send the code</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
