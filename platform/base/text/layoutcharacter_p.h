#pragma once

#include <QChar>
#include <QStringView>

/// What the layout of a text depends on in one of its characters.
struct LayoutCharacter {
    /// Where text of its kind begins. Both sides in one text make a layout of more than one run.
    enum Side { Neutral, Left, Right };

    QChar::Script script = QChar::Script_Common;
    Side side = Neutral;
    bool isKnown = false; ///< words of it are laid out independently of each other
    bool isSpace = false; ///< lines may break after it, and it is not counted at their ends
    bool isMark = false;
    bool isLetter = false; ///< or a digit
    bool isDigit = false;
    bool isClosing = false; ///< a closing bracket, or what breaks lines like one
    bool isOpening = false; ///< an opening bracket
    bool isJoining = false; ///< may be one character, as people see it, with the one before
    bool isIdeograph = false;
    /// A line may always break between it and an ideograph: an ideograph or its punctuation.
    bool isBeforeIdeograph = false;
};

/// The properties of a character of the Basic Multilingual Plane; a surrogate is not known.
const LayoutCharacter &layoutCharacter(char16_t c);

/// Reads the character at `at`, and moves `at` behind it.
LayoutCharacter nextCharacter(QStringView text, qsizetype &at);

/// A letter that puts characters of no script of their own into a script; 0 for a script whose words,
/// or the breaks inside them, may depend on more than what stands between two spaces.
char16_t letterOf(QChar::Script script);
