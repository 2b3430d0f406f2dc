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

/// What words take in a line. Every word is measured once by a QTextLayout, with the spaces that
/// stand around it, in 1/64 pixels, the unit that QTextLayout adds up in.
///
/// Bounded: it holds `maxBytes` at most, forgets what was not used for longest, and everything when
/// the fonts of the application change. Thread: one cache a thread.
class WordCache
{
public:
    static constexpr size_t maxBytes = 8 << 20;

    /// A longer one is no word that will be met again.
    static constexpr qsizetype longestWord = 128;

    /// Formats that a cache tells apart before it begins anew; fewer may stand in one text.
    static constexpr size_t mostFormats = 64;

    using Fixed = int; ///< 1/64 pixels

    struct Metrics {
        Fixed ascent = 0;
        Fixed descent = 0;
        Fixed leading = 0;
    };

    /// What stays together on a line: a grapheme cluster, or what lies between two line breaks.
    struct Part {
        int length = 0; ///< code units
        Fixed advance = 0;
        Fixed bearing = 0; ///< what its last glyph reaches beyond its advance
    };

    /// A word with the spaces before it.
    struct Word {
        enum State {
            New,      ///< never seen before
            Met,      ///< seen, and worth measuring when it is seen again
            Measured, ///< all of what follows is valid
            Unusable  ///< its parts do not add up to it, so it takes a full layout
        };
        State state = New;
        int spaceCount = 0;
        Fixed spaceAdvance = 0;
        Metrics metrics;
        std::vector<Part> segments; ///< between line breaks; empty for spaces alone
        std::vector<Part> clusters; ///< empty until measureClusters()
    };

    /// What a word is measured in, and told apart by.
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

    /// Drops what is stale or too much. Entries and indices are valid until the next call.
    void beginText();

    uint8_t indexOf(const QFont &font);
    uint8_t indexOf(const QTextCharFormat &format);

    /// Finds a word, or notes it as new.
    Entry &find(const KeyView &key);

    void measure(Entry &entry);

    /// Measures what a line that has to break inside of a word needs. It may find that the word is
    /// unusable.
    void measureClusters(Entry &entry);

    /// Forgets everything.
    void clear();

    /// What is held, in bytes.
    size_t bytes() const { return m_recentBytes + m_olderBytes; }

private:
    QTextLayout &layOut(const Entry &entry, std::optional<QTextLayout> &layout,
                        qsizetype &from) const;
    static std::vector<Part> partsOf(QTextLayout &layout, const Entry &entry,
                                     QTextOption::WrapMode mode, qsizetype from);

    std::vector<QFont> m_fonts;
    std::vector<QTextCharFormat> m_formats{QTextCharFormat()}; ///< the first one: none
    Words m_recent;
    Words m_older; ///< forgotten when the recent ones are a quarter of what may be held
    size_t m_recentBytes = 0;
    size_t m_olderBytes = 0;
    int m_fontGeneration = 0;
};
