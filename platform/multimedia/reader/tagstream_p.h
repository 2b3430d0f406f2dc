#pragma once

#include <QFile>

#include <taglib/tiostream.h>

namespace multimedia
{

/// A file as TagLib reads it, with an allowance: once it is used up, the file seems to end. However
/// long or damaged a file is, that bounds the time; and since TagLib descends into nested parts with
/// a read each, it bounds the depth of the stack.
class TagStream : public TagLib::IOStream
{
public:
    /// `file` is open, and outlives this.
    explicit TagStream(QFile *file) : m_file(file) { }

    /// From now on at most `reads` reads of `bytes` bytes together.
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
