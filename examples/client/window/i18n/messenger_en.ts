<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en">
<context>
    <name></name>
    <message id="client_add_account">
        <source>Add account</source>
        <translation>Add account</translation>
    </message>
    <message id="client_chats">
        <source>Chats</source>
        <translation>Chats</translation>
    </message>
    <message id="client_devices">
        <source>Devices</source>
        <translation>Devices</translation>
    </message>
    <message id="client_move">
        <source>Move the media</source>
        <translation>Move the media</translation>
    </message>
    <message id="client_log">
        <source>Log</source>
        <translation>Log</translation>
    </message>
    <message id="client_settings">
        <source>Settings</source>
        <translation>Settings</translation>
    </message>
    <message id="client_contact">
        <source>Contact</source>
        <translation>Contact</translation>
    </message>
    <message id="client_combined_count" numerus="yes">
        <source>%n message(s)</source>
        <translation>
            <numerusform>%n message</numerusform>
            <numerusform>%n messages</numerusform>
        </translation>
    </message>
    <message id="client_file_count" numerus="yes">
        <source>%n file(s)</source>
        <translation>
            <numerusform>%n file</numerusform>
            <numerusform>%n files</numerusform>
        </translation>
    </message>
    <message id="client_unknown_place">
        <source>Unknown place</source>
        <translation>Unknown place</translation>
    </message>
    <message id="client_lottery_my_amount">
        <source>You drew %1</source>
        <translation>You drew %1</translation>
    </message>
    <message id="client_lottery_drawn">
        <source>%1 of %2 drawn</source>
        <translation>%1 of %2 drawn</translation>
    </message>
    <message id="client_cannot_be_shown">
        <source>(cannot be shown here)</source>
        <translation>(cannot be shown here)</translation>
    </message>
    <message id="client_show_more">
        <source>Show more</source>
        <translation>Show more</translation>
    </message>
    <message id="client_show_spoiler">
        <source>Show spoiler</source>
        <translation>Show spoiler</translation>
    </message>
    <message id="client_live_photo">
        <source>Live</source>
        <translation>Live</translation>
    </message>
    <message id="client_meeting_invitation">
        <source>Invitation to a meeting</source>
        <translation>Invitation to a meeting</translation>
    </message>
    <message id="client_join_meeting">
        <source>Join</source>
        <translation>Join</translation>
    </message>
    <message id="client_newer_content">
        <source>This message needs a newer version.</source>
        <translation>This message needs a newer version.</translation>
    </message>
    <message id="client_poll_ended">
        <source>Final results</source>
        <translation>Final results</translation>
    </message>
    <message id="client_poll_quiz">
        <source>Quiz</source>
        <translation>Quiz</translation>
    </message>
    <message id="client_poll">
        <source>Poll</source>
        <translation>Poll</translation>
    </message>
    <message id="client_poll_anonymous">
        <source>anonymous</source>
        <translation>anonymous</translation>
    </message>
    <message id="client_poll_multiple">
        <source>several answers</source>
        <translation>several answers</translation>
    </message>
    <message id="client_poll_right">
        <source>Right!</source>
        <translation>Right!</translation>
    </message>
    <message id="client_poll_wrong">
        <source>Wrong.</source>
        <translation>Wrong.</translation>
    </message>
    <message id="client_poll_no_votes">
        <source>No votes yet</source>
        <translation>No votes yet</translation>
    </message>
    <message id="client_poll_votes" numerus="yes">
        <source>%n vote(s)</source>
        <translation>
            <numerusform>%n vote</numerusform>
            <numerusform>%n votes</numerusform>
        </translation>
    </message>
    <message id="client_transfer_failed">
        <source>Failed</source>
        <translation>Failed</translation>
    </message>
    <message id="client_move_ok">
        <source>Everything is in its new place.</source>
        <translation>Everything is in its new place.</translation>
    </message>
    <message id="client_move_failed">
        <source>Not everything has been moved. The next start goes on.</source>
        <translation>Not everything has been moved. The next start goes on.</translation>
    </message>
    <message id="client_move_given_up">
        <source>What has not been moved stays where it was.</source>
        <translation>What has not been moved stays where it was.</translation>
    </message>
    <message id="client_move_place">
        <source>Where they are</source>
        <translation>Where they are</translation>
    </message>
    <message id="client_move_target">
        <source>Where they are to be</source>
        <translation>Where they are to be</translation>
    </message>
    <message id="client_move_target_hint">
        <source>A directory that exists</source>
        <translation>A directory that exists</translation>
    </message>
    <message id="client_move_stop">
        <source>Stop</source>
        <translation>Stop</translation>
    </message>
    <message id="client_move_start">
        <source>Move</source>
        <translation>Move</translation>
    </message>
    <message id="client_move_progress">
        <source>%1 % – %2 of %3</source>
        <translation>%1 % – %2 of %3</translation>
    </message>
    <message id="client_move_idle">
        <source>Nothing is being moved.</source>
        <translation>Nothing is being moved.</translation>
    </message>
    <message id="client_move_retry">
        <source>Try again</source>
        <translation>Try again</translation>
    </message>
    <message id="client_move_skip">
        <source>Leave these</source>
        <translation>Leave these</translation>
    </message>
    <message id="client_move_give_up">
        <source>Give up</source>
        <translation>Give up</translation>
    </message>
    <message id="client_devices_nobody">
        <source>Nobody is signed in, so there are no devices.</source>
        <translation>Nobody is signed in, so there are no devices.</translation>
    </message>
    <message id="client_this_device">
        <source>%1 (this device)</source>
        <translation>%1 (this device)</translation>
    </message>
    <message id="client_sealed">
        <source>Sealed</source>
        <translation>Sealed</translation>
    </message>
    <message id="client_unlink">
        <source>Unlink</source>
        <translation>Unlink</translation>
    </message>
    <message id="client_tag_friends">
        <source>Friends</source>
        <translation>Friends</translation>
    </message>
    <message id="client_tag_family">
        <source>Family</source>
        <translation>Family</translation>
    </message>
    <message id="client_tag_work">
        <source>Work</source>
        <translation>Work</translation>
    </message>
    <message id="client_tag_all">
        <source>All</source>
        <translation>All</translation>
    </message>
    <message id="client_search">
        <source>Search</source>
        <translation>Search</translation>
    </message>
    <message id="client_archive">
        <source>Archive</source>
        <translation>Archive</translation>
    </message>
    <message id="client_unmute">
        <source>Sound on</source>
        <translation>Sound on</translation>
    </message>
    <message id="client_mute">
        <source>Mute</source>
        <translation>Mute</translation>
    </message>
    <message id="client_unarchive">
        <source>Take out of the archive</source>
        <translation>Take out of the archive</translation>
    </message>
    <message id="client_typing">
        <source>%1 is typing …</source>
        <translation>%1 is typing …</translation>
    </message>
    <message id="client_no_match">
        <source>Nothing matches “%1”.</source>
        <translation>Nothing matches “%1”.</translation>
    </message>
    <message id="client_archive_empty">
        <source>The archive is empty.</source>
        <translation>The archive is empty.</translation>
    </message>
    <message id="client_tag_empty">
        <source>No dialog has this tag.</source>
        <translation>No dialog has this tag.</translation>
    </message>
    <message id="client_dialogs_empty">
        <source>Nothing has arrived yet.</source>
        <translation>Nothing has arrived yet.</translation>
    </message>
    <message id="client_locked">
        <source>Locked</source>
        <translation>Locked</translation>
    </message>
    <message id="client_passcode">
        <source>Passcode</source>
        <translation>Passcode</translation>
    </message>
    <message id="client_wrong_passcode">
        <source>This is not the passcode.</source>
        <translation>This is not the passcode.</translation>
    </message>
    <message id="client_unlock">
        <source>Unlock</source>
        <translation>Unlock</translation>
    </message>
    <message id="client_log_empty">
        <source>Nothing has been logged yet.</source>
        <translation>Nothing has been logged yet.</translation>
    </message>
    <message id="client_veto">
        <source>You have not sent your message. Send or delete it before you switch.</source>
        <translation>You have not sent your message. Send or delete it before you switch.</translation>
    </message>
    <message id="client_message_count" numerus="yes">
        <source>%n message(s)</source>
        <translation>
            <numerusform>%n message</numerusform>
            <numerusform>%n messages</numerusform>
        </translation>
    </message>
    <message id="client_next_mention">
        <source>Next mention (%1)</source>
        <translation>Next mention (%1)</translation>
    </message>
    <message id="client_next_reaction">
        <source>Next reaction (%1)</source>
        <translation>Next reaction (%1)</translation>
    </message>
    <message id="client_write">
        <source>Message, with **bold**, __italic__ or `code`</source>
        <translation>Message, with **bold**, __italic__ or `code`</translation>
    </message>
    <message id="client_send">
        <source>Send</source>
        <translation>Send</translation>
    </message>
    <message id="client_notebook">
        <source>This is the hidden notebook. It has no entries yet. Lock the window and unlock it with the other passcode to leave.</source>
        <translation>This is the hidden notebook. It has no entries yet. Lock the window and unlock it with the other passcode to leave.</translation>
    </message>
    <message id="client_choose_dialog">
        <source>Choose a dialog on the left.</source>
        <translation>Choose a dialog on the left.</translation>
    </message>
    <message id="client_nobody">
        <source>Nobody is signed in. Add an account to begin.</source>
        <translation>Nobody is signed in. Add an account to begin.</translation>
    </message>
    <message id="client_remove">
        <source>Remove</source>
        <translation>Remove</translation>
    </message>
    <message id="client_set">
        <source>Set</source>
        <translation>Set</translation>
    </message>
    <message id="client_appearance">
        <source>Appearance</source>
        <translation>Appearance</translation>
    </message>
    <message id="client_dark">
        <source>Dark theme</source>
        <translation>Dark theme</translation>
    </message>
    <message id="client_font_size">
        <source>Font size</source>
        <translation>Font size</translation>
    </message>
    <message id="client_font_size_hint">
        <source>%1 pixels; every message is measured anew</source>
        <translation>%1 pixels; every message is measured anew</translation>
    </message>
    <message id="client_plain">
        <source>Plain mode</source>
        <translation>Plain mode</translation>
    </message>
    <message id="client_plain_hint">
        <source>Texts without formats</source>
        <translation>Texts without formats</translation>
    </message>
    <message id="client_large_emoji">
        <source>Large emoji</source>
        <translation>Large emoji</translation>
    </message>
    <message id="client_large_emoji_hint">
        <source>A message of a few emoji is shown large</source>
        <translation>A message of a few emoji is shown large</translation>
    </message>
    <message id="client_language">
        <source>Language</source>
        <translation>Language</translation>
    </message>
    <message id="client_count_mute">
        <source>Count muted dialogs</source>
        <translation>Count muted dialogs</translation>
    </message>
    <message id="client_count_mute_hint">
        <source>In the badge of the account</source>
        <translation>In the badge of the account</translation>
    </message>
    <message id="client_download">
        <source>Automatic download</source>
        <translation>Automatic download</translation>
    </message>
    <message id="client_download_media">
        <source>Media</source>
        <translation>Media</translation>
    </message>
    <message id="client_download_media_hint">
        <source>The choices below count while this is on</source>
        <translation>The choices below count while this is on</translation>
    </message>
    <message id="client_download_images">
        <source>Images in private chats and in groups</source>
        <translation>Images in private chats and in groups</translation>
    </message>
    <message id="client_download_videos">
        <source>Videos in private chats and in groups</source>
        <translation>Videos in private chats and in groups</translation>
    </message>
    <message id="client_download_files">
        <source>Files in private chats and in groups</source>
        <translation>Files in private chats and in groups</translation>
    </message>
    <message id="client_proxy">
        <source>Proxy</source>
        <translation>Proxy</translation>
    </message>
    <message id="client_proxy_on">
        <source>Connect by a proxy</source>
        <translation>Connect by a proxy</translation>
    </message>
    <message id="client_proxy_host">
        <source>Host and port</source>
        <translation>Host and port</translation>
    </message>
    <message id="client_lock">
        <source>Lock</source>
        <translation>Lock</translation>
    </message>
    <message id="client_passcode_hint">
        <source>Locks the window</source>
        <translation>Locks the window</translation>
    </message>
    <message id="client_notebook_passcode">
        <source>Passcode of the notebook</source>
        <translation>Passcode of the notebook</translation>
    </message>
    <message id="client_notebook_passcode_hint">
        <source>Opens a hidden notebook instead of the accounts</source>
        <translation>Opens a hidden notebook instead of the accounts</translation>
    </message>
    <message id="client_destroying_passcode">
        <source>Destroying passcode</source>
        <translation>Destroying passcode</translation>
    </message>
    <message id="client_destroying_passcode_hint">
        <source>Deletes every account, for good</source>
        <translation>Deletes every account, for good</translation>
    </message>
    <message id="client_lock_now">
        <source>Lock now</source>
        <translation>Lock now</translation>
    </message>
    <message id="client_lock_now_hint">
        <source>Set a passcode first</source>
        <translation>Set a passcode first</translation>
    </message>
    <message id="client_console">
        <source>Debug lines in the console, by category</source>
        <translation>Debug lines in the console, by category</translation>
    </message>
    <message id="client_sign_in_help">
        <source>The stand-in for the server knows two people: Mira, 5550101, and Jonas, 5550102. The code is 246810.</source>
        <translation>The stand-in for the server knows two people: Mira, 5550101, and Jonas, 5550102. The code is 246810.</translation>
    </message>
    <message id="client_phone">
        <source>Telephone number</source>
        <translation>Telephone number</translation>
    </message>
    <message id="client_code">
        <source>Code</source>
        <translation>Code</translation>
    </message>
    <message id="client_sign_in">
        <source>Sign in</source>
        <translation>Sign in</translation>
    </message>
    <message id="client_send_code">
        <source>Send the code</source>
        <translation>Send the code</translation>
    </message>
</context>
</TS>
