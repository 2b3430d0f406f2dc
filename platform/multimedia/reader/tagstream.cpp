#include "multimedia/reader/tagstream_p.h"

#include <limits>

namespace multimedia
{

void TagStream::allow(int reads, qint64 bytes)
{
    m_reads = reads;
    m_bytes = bytes;
}

TagLib::ByteVector TagStream::readBlock(unsigned long length)
{
    // TagLib requests lengths that it found in the file.
    const qint64 left = std::min(m_file->size() - m_position, m_bytes);
    if (m_reads <= 0 || left <= 0 || !m_file->seek(m_position))
        return {};
    --m_reads;
    TagLib::ByteVector block(uint(std::min<quint64>(length, quint64(left))), '\0');
    const qint64 read = std::max<qint64>(m_file->read(block.data(), block.size()), 0);
    block.resize(uint(read));
    m_position += read;
    m_bytes -= read;
    return block;
}

void TagStream::seek(long offset, Position from)
{
    const qint64 origin = from == End ? m_file->size() : from == Current ? m_position : 0;
    const qint64 farthest = std::numeric_limits<long>::max() / 2;
    m_position = origin + std::clamp<qint64>(offset, -origin, farthest - origin);
}

} // namespace multimedia
