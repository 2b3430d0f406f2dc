#pragma once

#include <QByteArrayView>
#include <QDir>
#include <QString>

#include <algorithm>

/// Defined by every fuzz target: processes one input. There is an application (offscreen, with its
/// log silenced); a failing input ends the process.
void fuzzOne(QByteArrayView input);

namespace fuzzing
{

/// Ends the process when `holds` is false, so that the input is kept as a finding. `what` states
/// what should have been true.
void check(bool holds, const char *what);

/// Any text, including half surrogate pairs: the first byte says whether the rest is UTF-8 (even)
/// or UTF-16 (odd, little-endian).
QString text(QByteArrayView input);

/// An input as numbers and bytes, taken from its front; zeros follow its end.
class Pieces
{
public:
    explicit Pieces(QByteArrayView input) : m_left(input) { }

    bool isEmpty() const { return m_left.isEmpty(); }
    bool flag() { return number(0, 1) == 1; }
    int number() { return int(bits(sizeof(int))); }
    int number(int least, int most)
    {
        const quint64 range = quint64(qint64(most) - least + 1);
        return int(least + qint64(bits(range > 256 ? sizeof(int) : 1) % range));
    }
    quint64 bits(std::size_t size = sizeof(quint64))
    {
        quint64 all = 0;
        for (const char byte : bytes(qsizetype(size)))
            all = all << 8 | quint8(byte);
        return all;
    }
    QByteArrayView bytes(qsizetype most)
    {
        const QByteArrayView taken = m_left.first(std::min(most, m_left.size()));
        m_left = m_left.sliced(taken.size());
        return taken;
    }
    QByteArrayView rest() { return bytes(m_left.size()); }

private:
    QByteArrayView m_left;
};

/// A directory that only contains one file of this name and content. The same directory each time.
QDir folderWith(const QString &name, QByteArrayView content);

} // namespace fuzzing
