#pragma once

#include <QChar>
#include <QStringView>

/// The properties of a character that the layout depends on.
struct LayoutCharacter {
    /// Which direction a text of this kind has. Both directions in one text need more than one run.
    enum Side { Neutral, Left, Right };

    QChar::Script script = QChar::Script_Common;
    Side side = Neutral;
    bool isKnown = false; ///< its words are laid out independently of each other
    bool isSpace = false; ///< lines may break after it; not counted at their ends
    bool isMark = false;
    bool isLetter = false; ///< or a digit
    bool isDigit = false;
    bool isClosing = false; ///< a closing bracket, or breaks lines like one
    bool isOpening = false; ///< an opening bracket
    bool isJoining = false; ///< may form one visible character with the one before
    bool isIdeograph = false;
    /// A line may always break between it and an ideograph: an ideograph or its punctuation.
    bool isBeforeIdeograph = false;
};

/// The properties of a character of the Basic Multilingual Plane; a surrogate is not known.
const LayoutCharacter &layoutCharacter(char16_t c);

/// Reads the character at `at`, and advances `at` past it.
LayoutCharacter nextCharacter(QStringView text, qsizetype &at);

/// A letter that gives its script to neighbouring characters without a script; 0 for a script whose
/// words, or breaks inside them, may depend on more than the text between two spaces.
char16_t letterOf(QChar::Script script);
