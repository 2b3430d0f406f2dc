#pragma once

#include <QChar>
#include <QFont>
#include <QTextCharFormat>
#include <QTextLayout>
#include <QTextOption>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The width of words in a line. A QTextLayout measures every word once, together with the
/// surrounding spaces, in 1/64 pixels, the unit in which QTextLayout adds widths.
///
/// Bounded: it holds at most `maxBytes`, drops the least recently used words, and everything when
/// the application's fonts change. Thread: one cache a thread.
class WordCache
{
public:
    static constexpr size_t maxBytes = 8 << 20;

    /// A longer word is unlikely to be seen again.
    static constexpr qsizetype longestWord = 128;

    /// Formats in a cache before it starts over; a text may have fewer only.
    static constexpr size_t mostFormats = 64;

    using Fixed = int; ///< 1/64 pixels

    struct Metrics {
        Fixed ascent = 0;
        Fixed descent = 0;
        Fixed leading = 0;
    };

    /// A unit that stays together on a line: a grapheme cluster, or the text between two line
    /// breaks.
    struct Part {
        int length = 0; ///< code units
        Fixed advance = 0;
        Fixed bearing = 0; ///< how far its last glyph extends beyond its advance
    };

    /// A word with its preceding spaces.
    struct Word {
        enum State {
            New,      ///< never seen before
            Seen,     ///< seen once; measured when seen again
            Measured, ///< all following members are valid
            Unusable  ///< its parts do not add up, so it needs a full layout
        };
        State state = New;
        int spaceCount = 0;
        Fixed spaceAdvance = 0;
        Metrics metrics;
        std::vector<Part> segments; ///< between line breaks; empty for spaces alone
        std::vector<Part> clusters; ///< empty until measureClusters()
    };

    /// The conditions of a measurement, part of the key.
    struct Context {
        uint8_t font = 0;
        uint8_t format = 0;
        uint8_t script = QChar::Script_Common;
        bool isRightToLeft = false;
        bool isSpaceNext = false;

        bool operator==(const Context &) const = default;
    };

    struct KeyView {
        std::u16string_view text;
        Context context;
    };
    struct Key {
        std::u16string text;
        Context context;

        operator KeyView() const { return {text, context}; }
    };
    struct Hash {
        using is_transparent = void;
        size_t operator()(const KeyView &key) const noexcept;
    };
    struct Equal {
        using is_transparent = void;
        bool operator()(const KeyView &a, const KeyView &b) const noexcept
        {
            return a.context == b.context && a.text == b.text;
        }
    };
    using Words = std::unordered_map<Key, Word, Hash, Equal>;
    using Entry = Words::value_type;

    /// Drops stale and excess entries. Entries and indices are valid until the next call.
    void beginText();

    uint8_t indexOf(const QFont &font);
    uint8_t indexOf(const QTextCharFormat &format);

    /// Finds a word, or adds it as new.
    Entry &find(const KeyView &key);

    void measure(Entry &entry);

    /// Measures what a break inside the word needs. The word may turn out to be unusable.
    void measureClusters(Entry &entry);

    /// Forgets everything.
    void clear();

    /// The memory used, in bytes.
    size_t bytes() const { return m_recentBytes + m_olderBytes; }

private:
    QTextLayout &layOut(const Entry &entry, std::optional<QTextLayout> &layout,
                        qsizetype &from) const;
    static std::vector<Part> partsOf(QTextLayout &layout, const Entry &entry,
                                     QTextOption::WrapMode mode, qsizetype from);

    std::vector<QFont> m_fonts;
    std::vector<QTextCharFormat> m_formats{QTextCharFormat()}; ///< the first one: no format
    Words m_recent;
    Words m_older; ///< dropped when the recent ones reach a quarter of maxBytes
    size_t m_recentBytes = 0;
    size_t m_olderBytes = 0;
    int m_fontGeneration = 0;
};
