#include "account/verificationemoji_p.h"

#include <QString>
#include <QtEndian>

#include <array>

namespace
{

/// Emoji that are easy to tell apart, as UTF-16 code units of four hexadecimal digits each. Both
/// sides of a comparison show them, so the table must never change.
constexpr std::array<const char *, 333> table{
    "D83DDE09", "D83DDE0D", "D83DDE1B", "D83DDE2D", "D83DDE31", "D83DDE21", "D83DDE0E", "D83DDE34",
    "D83DDC35", "D83EDD8D", "D83DDC36", "D83DDC3A", "D83EDD8A", "D83DDC31", "D83EDD81", "D83DDC2F",
    "D83DDC34", "D83EDD84", "D83EDD93", "D83EDD8C", "D83DDC2E", "D83DDC04", "D83DDC37", "D83DDC17",
    "D83DDC3D", "D83DDC11", "D83DDC10", "D83EDD92", "D83DDC18", "D83EDD8F", "D83DDC2D", "D83DDC30",
    "D83EDD94", "D83EDD87", "D83DDC3B", "D83DDC28", "D83DDC3C", "D83DDC3E", "D83DDC14", "D83DDC25",
    "D83DDC27", "D83EDD86", "D83EDD89", "D83DDC38", "D83DDC0A", "D83DDC22", "D83EDD8E", "D83DDC0D",
    "D83DDC09", "D83EDD95", "D83EDD96", "D83DDC33", "D83DDC0B", "D83DDC2C", "D83DDC20", "D83DDC21",
    "D83EDD88", "D83DDC19", "D83DDC1A", "D83DDC0C", "D83EDD8B", "D83DDC1C", "D83DDC1D", "D83DDC1E",
    "D83EDD97", "D83EDD82", "D83DDC90", "D83CDF38", "D83CDF39", "D83CDF3B", "D83CDF37", "D83CDF34",
    "D83CDF35", "D83CDF3E", "D83CDF3F", "D83CDF40", "D83CDF43", "D83CDF44", "D83CDF47", "D83CDF49",
    "D83CDF4A", "D83CDF4B", "D83CDF4C", "D83CDF4D", "D83CDF4E", "D83CDF50", "D83CDF52", "D83CDF53",
    "D83EDD5D", "D83CDF45", "D83EDD65", "D83EDD51", "D83CDF46", "D83EDD55", "D83CDF3D", "D83EDD52",
    "D83EDD66", "D83EDD5C", "D83CDF30", "D83CDF5E", "D83EDD50", "D83EDD56", "D83EDD68", "D83EDD5E",
    "D83EDDC0", "D83EDD69", "D83EDD53", "D83CDF54", "D83CDF5F", "D83CDF55", "D83EDD6A", "D83CDF2E",
    "D83EDD5A", "D83CDF73", "D83EDD58", "D83CDF72", "D83CDF7F", "D83CDF59", "D83CDF5C", "D83CDF63",
    "D83CDF64", "D83EDD60", "D83EDD80", "D83EDD90", "D83EDD91", "D83CDF66", "D83CDF69", "D83CDF6A",
    "D83CDF82", "D83EDD67", "D83CDF6B", "D83CDF6C", "D83CDF6D", "D83CDF6E", "D83CDF6F", "D83CDF7C",
    "2615",     "D83CDF75", "D83CDF7E", "D83CDF77", "D83CDF78", "D83CDF79", "D83CDF7B", "D83EDD64",
    "D83CDF74", "D83EDD44", "D83CDF0D", "D83CDF10", "D83CDF0B", "D83DDDFB", "D83CDFE0", "D83CDFE1",
    "D83CDFED", "D83CDFF0", "D83DDDFC", "26EA",     "D83DDD4C", "D83DDD4B", "26F2",     "26FA",
    "D83CDFA0", "D83CDFA1", "D83CDFA2", "D83DDC88", "D83DDE82", "D83DDE89", "D83DDE8C", "D83DDE91",
    "D83DDE92", "D83DDE95", "D83DDE97", "D83DDE9C", "D83DDEF5", "D83DDEB2", "D83DDEF4", "26FD",
    "D83DDEA8", "D83DDED1", "D83DDEA7", "2693",     "26F5",     "D83DDEA4", "D83DDEA2", "D83DDCBA",
    "D83DDE81", "D83DDE80", "D83DDEF8", "D83CDF19", "D83CDF1E", "2B50",     "D83CDF0C", "26C5",
    "D83CDF00", "D83CDF08", "2614",     "26A1",     "D83DDD25", "D83DDCA7", "D83CDF0A", "D83CDF83",
    "D83CDF84", "D83CDF86", "D83CDF88", "D83CDF89", "D83CDF8A", "D83CDF8F", "D83CDF80", "D83CDF81",
    "D83CDFC6", "D83EDD47", "26BD",     "26BE",     "D83CDFC0", "D83CDFC8", "D83CDFBE", "D83CDFB3",
    "D83CDFD2", "D83CDFD3", "D83CDFF8", "D83EDD4A", "26F3",     "D83CDFA3", "D83CDFBF", "D83DDEF7",
    "D83EDD4C", "D83CDFAF", "D83CDFB1", "D83CDFAE", "D83CDFB0", "D83CDFB2", "D83CDFAD", "D83CDFA8",
    "D83DDC53", "D83DDC55", "D83EDDE3", "D83EDDE4", "D83DDC57", "D83DDC5C", "D83CDF92", "D83DDC5E",
    "D83DDC5F", "D83DDC60", "D83DDC51", "D83CDFA9", "D83CDF93", "D83DDC84", "D83DDC8D", "D83DDC8E",
    "D83DDCE3", "D83DDCEF", "D83DDD14", "D83CDFA4", "D83CDFA7", "D83DDCFB", "D83CDFB7", "D83CDFB8",
    "D83CDFB9", "D83CDFBA", "D83CDFBB", "D83EDD41", "D83DDCDE", "D83DDD0B", "D83DDD0C", "D83DDCBB",
    "D83CDFA5", "D83CDFAC", "D83DDCFA", "D83DDCF7", "D83DDCF8", "D83DDD0D", "D83DDCA1", "D83DDD26",
    "D83CDFEE", "D83DDCD6", "D83DDCDA", "D83DDCB0", "D83DDCB3", "D83DDCE6", "D83DDCEE", "D83DDCDD",
    "D83DDCC8", "D83DDCCC", "D83DDCCD", "D83DDCCE", "D83DDCD0", "D83DDD12", "D83DDD11", "D83DDD28",
    "D83CDFF9", "D83DDD27", "D83DDD17", "D83DDD2C", "D83DDD2D", "D83DDCE1", "D83DDC89", "D83DDC8A",
    "D83DDEAA", "D83DDE00", "D83DDE02", "D83DDE07", "D83EDD14", "D83EDD10", "D83EDD22", "D83EDD20",
    "D83EDD21", "D83DDC7B", "D83DDC7D", "D83EDD16", "D83DDCA9", "D83DDC79", "D83DDC76", "D83DDC6E",
    "D83DDC80", "D83DDC94", "D83DDCAF", "D83DDD34", "D83DDD35", "D83EDD29", "D83EDD2F", "D83EDD76",
    "D83DDE48", "D83DDE49", "D83DDE4A", "D83CDFAA", "D83DDDFF", "D83DDED2", "D83DDCA3", "D83EDDE6",
    "D83DDEA6", "D83DDEC1", "26C4",     "D83EDD62", "D83DDC2B",
};

/// The text of an entry: unchanged if it is shorter than four characters, else decoded. Null if it
/// holds no whole code units; sets `damaged` if it should but does not.
QString decoded(const QString &entry, bool &damaged)
{
    if (entry.size() < 4)
        return entry;
    if (entry.size() % 4 != 0)
        return {};
    QString text;
    for (qsizetype i = 0; i < entry.size(); i += 4) {
        bool ok = false;
        text += QChar(QStringView(entry).mid(i, 4).toUShort(&ok, 16));
        if (!ok) {
            damaged = true;
            return {};
        }
    }
    return text;
}

} // namespace

QVariantList verificationEmoji(const QByteArray &sha256)
{
    QVariantList emoji;
    if (sha256.size() != 32)
        return emoji;
    for (int block = 0; block < 4; ++block) {
        const quint64 number =
            qFromBigEndian<quint64>(sha256.constData() + block * 8) & ~(1ULL << 63);
        bool damaged = false;
        const QString text = decoded(QString::fromLatin1(table[number % table.size()]), damaged);
        if (damaged)
            break;
        if (!text.isNull())
            emoji.append(text);
    }
    return emoji;
}
