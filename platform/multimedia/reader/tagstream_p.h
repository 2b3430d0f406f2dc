#pragma once

#include <QFile>

#include <taglib/tiostream.h>

namespace multimedia
{

/// A file as TagLib reads it, with a budget: once it is used up, the file seems to end. That limits
/// the time for long or damaged files, and, since TagLib reads once for each nested part, also the
/// depth of the stack.
class TagStream : public TagLib::IOStream
{
public:
    /// `file` is open, and must outlive this.
    explicit TagStream(QFile *file) : m_file(file) { }

    /// From now on at most `reads` reads of `bytes` bytes in total.
    void allow(int reads, qint64 bytes);

    TagLib::FileName name() const override { return ""; }
    TagLib::ByteVector readBlock(unsigned long length) override;
    bool readOnly() const override { return true; }
    bool isOpen() const override { return true; }
    void seek(long offset, Position from) override;
    long tell() const override { return long(m_position); }
    long length() override { return long(m_file->size()); }

    void writeBlock(const TagLib::ByteVector &) override { }
    void insert(const TagLib::ByteVector &, unsigned long, unsigned long) override { }
    void removeBlock(unsigned long, unsigned long) override { }
    void truncate(long) override { }

private:
    QFile *m_file;
    qint64 m_position = 0;
    int m_reads = 0;
    qint64 m_bytes = 0;
};

} // namespace multimedia
