#include "settings/appdatamove_p.h"

#include "i18n/translated_p.h"

using FileCause = AppDataMove::FileCause;
using Reason = AppDataMove::Reason;

QString MoveTexts::of(FileCause cause)
{
    switch (cause) {
    case FileCause::BeingWritten:
        //% "It is still being written."
        return translated(QT_TRID_NOOP("storage_file_in_use_tip"));
    case FileCause::Unreadable:
        //% "It cannot be read."
        return translated(QT_TRID_NOOP("storage_file_unreadable_tip"));
    case FileCause::NotWritable:
        //% "It cannot be written at the new place."
        return translated(QT_TRID_NOOP("storage_file_not_writable_tip"));
    case FileCause::InTheWay:
        //% "Something else is in its way at the new place."
        return translated(QT_TRID_NOOP("storage_file_in_the_way_tip"));
    case FileCause::NotRemovable:
        break;
    }
    //% "It has been copied, but cannot be removed from the old place."
    return translated(QT_TRID_NOOP("storage_file_not_removable_tip"));
}

std::pair<QString, const char *> MoveTexts::of(Reason reason)
{
    switch (reason) {
    case Reason::Running:
        //% "A move is under way."
        return {translated(QT_TRID_NOOP("storage_move_running_tip")), "one is under way"};
    case Reason::LastUnfinished:
        //% "The last move has not finished yet."
        return {translated(QT_TRID_NOOP("storage_move_unfinished_tip")),
                "the last one has not finished"};
    case Reason::OldPlaceMissing:
        //% "The old place is not there. Is its disk connected?"
        return {translated(QT_TRID_NOOP("storage_old_place_missing_tip")),
                "the old place is not there"};
    case Reason::TargetRelative:
        //% "The new place needs a full path."
        return {translated(QT_TRID_NOOP("storage_place_relative_tip")), "a relative path"};
    case Reason::NoTarget:
        //% "The new place does not exist."
        return {translated(QT_TRID_NOOP("storage_place_missing_tip")), "no such directory"};
    case Reason::TargetNotDirectory:
        //% "The new place is not a directory."
        return {translated(QT_TRID_NOOP("storage_place_no_directory_tip")), "not a directory"};
    case Reason::SamePlace:
        //% "The files are there already."
        return {translated(QT_TRID_NOOP("storage_place_same_tip")), "it is the present place"};
    case Reason::TargetInside:
        //% "The new place lies inside the present one."
        return {translated(QT_TRID_NOOP("storage_place_inside_tip")),
                "it lies in the present place"};
    case Reason::TargetAround:
        //% "The present place lies inside the new one."
        return {translated(QT_TRID_NOOP("storage_place_around_tip")),
                "the present place lies in it"};
    case Reason::NoSpace:
        //% "There is not enough space at the new place."
        return {translated(QT_TRID_NOOP("storage_space_insufficient_tip")), "too little space"};
    case Reason::NoPermission:
        //% "The new place cannot be written to."
        return {translated(QT_TRID_NOOP("storage_no_permissions__tip")), "it cannot be written to"};
    case Reason::FilesLeft:
        //% "Some files could not be moved."
        return {translated(QT_TRID_NOOP("storage_files_left_tip")), "some files cannot be moved"};
    case Reason::FilesInUse:
        //% "Some files are still being written. They follow later."
        return {translated(QT_TRID_NOOP("storage_files_in_use_tip")), "some files are in use"};
    case Reason::NotStored:
        //% "The settings cannot be stored just now."
        return {translated(QT_TRID_NOOP("storage_settings_not_stored_tip")),
                "the settings cannot be stored"};
    case Reason::None:
        break;
    }
    return {QString(), "done"};
}
