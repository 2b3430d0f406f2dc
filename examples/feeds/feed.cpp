#include "feeds/feed.h"

#include <QtEndian>

namespace
{

constexpr char magic[] = "im-feed\n";
constexpr qsizetype magicSize = sizeof magic - 1;
constexpr int endMark = 0;
constexpr qsizetype headerSize = 8;
constexpr qsizetype checksumSize = 2;
/// Longer records count as damage. That also limits the allocation for a damaged length.
constexpr quint32 maxRecordSize = 16 * 1024 * 1024;

template <typename Number>
void appendNumber(QByteArray &bytes, Number number)
{
    number = qToBigEndian(number);
    bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
}

} // namespace

FeedReader::FeedReader(const QString &path) : m_file(path)
{
    if (!m_file.open(QIODevice::ReadOnly))
        fail(m_file.errorString());
    else if (m_file.read(magicSize) != QByteArrayView(magic, magicSize))
        fail(QStringLiteral("this is not a feed"));
}

std::optional<Frame> FeedReader::next()
{
    if (!m_error.isEmpty())
        return {};
    ++m_number;
    QByteArray bytes = m_file.read(headerSize);
    if (bytes.size() < headerSize)
        return fail(
            QStringLiteral("frame %1 is missing: the feed ends before its end mark").arg(m_number));
    const auto type = qFromBigEndian<quint32>(bytes.constData());
    const auto size = qFromBigEndian<quint32>(bytes.constData() + 4);
    if (size > maxRecordSize)
        return fail(
            QStringLiteral("frame %1 is damaged: it claims %2 bytes").arg(m_number).arg(size));
    bytes += m_file.read(size);
    if (bytes.size() < headerSize + qsizetype(size))
        return fail(QStringLiteral("frame %1 is cut off: %2 of its %3 bytes are there")
                        .arg(m_number)
                        .arg(bytes.size() - headerSize)
                        .arg(size));
    const QByteArray checksum = m_file.read(checksumSize);
    if (checksum.size() < checksumSize)
        return fail(QStringLiteral("frame %1 is cut off: its checksum is missing").arg(m_number));
    if (qFromBigEndian<quint16>(checksum.constData()) != qChecksum(bytes))
        return fail(QStringLiteral("frame %1 is damaged: its checksum is wrong").arg(m_number));
    if (type == endMark)
        return {};
    return Frame{int(type), bytes.sliced(headerSize)};
}

std::nullopt_t FeedReader::fail(const QString &error)
{
    m_error = error;
    return std::nullopt;
}

void FeedWriter::append(const Frame &frame)
{
    if (m_bytes.isEmpty())
        m_bytes.append(magic, magicSize);
    const qsizetype start = m_bytes.size();
    appendNumber(m_bytes, quint32(frame.type));
    appendNumber(m_bytes, quint32(frame.record.size()));
    m_bytes += frame.record;
    appendNumber(m_bytes, qChecksum(QByteArrayView(m_bytes).sliced(start)));
}

QByteArray FeedWriter::finished()
{
    append({endMark, {}});
    return m_bytes;
}
