#pragma once

#include "content/contentitem.h"

class FileItem;

/// The content of a message that sends a file of this device.
///
/// @param path   of the file; a "file:" URL, as dialogs and drops give it, will do
/// @param type   as what it is sent: Image, Video, Voice, Music or File
/// @param source the model source type, 1 for chat messages; see ContentItem
///
/// The item has the record of the file, with a fresh 32-byte key, its name and size, and in the
/// state WaitingForUpload; a picture's size; the duration of voice and music and the title and
/// author of music, as far as the file tells. The thumbnail of a picture, video or piece of music
/// follows: FileItem::captureThumbnail() has been called and ends with thumbnailCaptured(), and for
/// a video that brings size and duration, too. What only a recorder knows (the waveform of a voice
/// message) the caller sets.
///
/// The application uploads the files of FileItem::getFile(), telling each record how far it is
/// (BaseFile::setFileState(), FileData::updateTransferProgress()) and the id that the server gave
/// it (FileData::update()); then the item serializes the body to send, and from then on the
/// account's other items share the records.
///
/// Reads the beginning of the file. Null, with a log line, when it is no regular file that can be
/// read, when a picture or a video is none, or for another type.
MODELBASE_EXPORT QSharedPointer<FileItem>
makeOutgoingFile(const QString &path, ContentItem::Type type, int source, AccountBase *account);
