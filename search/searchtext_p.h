#pragma once

#include <QString>

#include <vector>

/// A text made ready for matching: what does not matter is folded away, the rest is split into
/// tokens. Plain and exact rather than fast.
///
/// Folded are compatibility forms and case (NFKC_Casefold, UAX #31 and #44), the marks of Latin,
/// Greek, Cyrillic, Hebrew and Arabic letters, strokes of Latin letters, Arabic letter forms, digits
/// of all scripts, and skin tones and presentation of emoji.
struct SearchText {
    enum Kind {
        Word,   ///< letters and digits: matches by its beginning
        Run,    ///< of a script without spaces: matches anywhere
        Hangul, ///< matches by its beginning, and by whole syllables inside
        Emoji,  ///< a single one: matches itself
        Symbol, ///< anything else, a single one; no token, except in a key of symbols alone
    };

    /// A folded character. Several may stand for the same part of the source, or one for many.
    struct Character {
        char32_t code;
        int from; ///< of its grapheme cluster (UAX #29) in the source, in UTF-16 units
        int to;   ///< behind that cluster
    };

    struct Token {
        Kind kind;
        int from; ///< in `characters`
        int to;   ///< behind the last one
    };

    explicit SearchText(const QString &source);

    std::vector<Character> characters;
    std::vector<Token> tokens; ///< without symbols
    std::vector<Token> symbols;

private:
    void addEmoji(const QString &cluster, int from);
    void add(const QString &cluster, int from);
    void addToken(Kind kind, char32_t code, int from, int to);

    bool m_isOpen = false; // the last token may grow
};
