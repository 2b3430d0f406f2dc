#include "base/util.h"

#include <utility>

// Patterns that recognise links, addresses and tags in a text.
//
// Texts come from strangers, so every expression takes time linear in the text: loops are
// possessive or have an upper bound, and a lookbehind lets a match start only where a word (for
// hosts and addresses: the whole dotted run) starts. A candidate that turns out to be something
// else is skipped as a whole with (*SKIP)(*FAIL).
//
// All expressions are in extended syntax: blanks outside classes are ignored, "#" is escaped. Names
// in braces stand for the fragments below.

namespace
{

/// Later fragments may use earlier ones.
constexpr std::pair<QStringView, QStringView> fragments[] = {
    // For use inside classes: the characters of words, and the scripts without spaces between
    // words. A link, tag or number may touch a word of those scripts.
    {u"{WORD}", uR"(\p{L}\p{M}\p{N}_)"},
    {u"{UNSPACED}", uR"(\p{Han}\p{Hiragana}\p{Katakana}\p{Thai}\p{Lao}\p{Khmer}\p{Myanmar})"},
    {u"{WORD_STARTS}", uR"((?: (?<![{WORD}]) | (?<=[{UNSPACED}]) ))"},
    {u"{WORD_ENDS}", uR"((?: (?![{WORD}]) | (?=[{UNSPACED}]) ))"},
    // For use inside classes: Latin words, including the accents of decomposed letters.
    {u"{LATIN}", uR"(\p{Latin}\x{300}-\x{36F}\p{N}_)"},
    // The zero-width joiners, and the punctuation that is part of a word in the middle of it (UAX
    // #29, MidLetter, and equivalents in Katakana, Hebrew and Tibetan).
    {u"{WORD_JOINERS}", uR"(\x{200C}\x{200D}\x{B7}\x{30FB}\x{5F3}\x{5F4}\x{F0B})"},
    {u"{TAG}", uR"([{WORD}]++ (?: [{WORD_JOINERS}]++ [{WORD}]++ )*+)"},

    // Hosts (RFC 1123, RFC 5890). A label is either Latin or not: the host starts or ends where the
    // script changes, as in a Chinese sentence around an address.
    {u"{LATIN_LABEL}", uR"([{LATIN}]++ (?: -++ [{LATIN}]++ )*+)"},
    {u"{OTHER_LABEL}", uR"((?= [\p{N}_-]*+ (?!\p{Latin}) \p{L} )
                           (?: (?!\p{Latin}) [\p{L}\p{M}\p{N}_-] )++)"},
    {u"{LABEL}", uR"((?: {LATIN_LABEL} | {OTHER_LABEL} ))"},
    {u"{PUNYCODE}", uR"(xn--[A-Za-z0-9-]{2,59}+)"},
    // Any top-level domain. "ok.Then" is a missing space: domains are not capitalised like that.
    {u"{UNCAPITALISED}", uR"((?-i: (?! \p{Lu}\p{Ll} ) ))"},
    {u"{TOP_LEVEL}", uR"((?: {PUNYCODE} | {UNCAPITALISED}
                             (?: \p{Latin}{2,63}+ | (?: (?!\p{Latin}) [\p{L}\p{M}] ){2,63}+ ) ))"},
    {u"{OCTET}", uR"((?: 25[0-5] | 2[0-4][0-9] | [01]?[0-9]{1,2} ))"},
    {u"{IPV4}", uR"((?: {OCTET} (?: \. {OCTET} ){3} (?![0-9]) ))"},
    {u"{PORT}", uR"((?: :[0-9]{1,5}+ (?![0-9]) ))"},

    // The text after the host. Punctuation belongs to a link only if more of the link follows, a
    // closing bracket only if its opening one is inside, too. Emoji, quotes and punctuation of
    // other scripts end the link.
    {u"{LINK}", uR"(\p{L}\p{M}\p{N}\p{Pd}_~$&+=@%\#/^\x{200C}\x{200D})"},
    {u"{LINK_DOTS}", uR"(.,;:!?'*|\x{2019}\x{B7}\x{30FB})"},
    {u"{IN_BRACKETS}", uR"([{LINK}{LINK_DOTS}\[\]])"},
    {u"{ROUND}", uR"(\( (?: {IN_BRACKETS}++ | \( {IN_BRACKETS}*+ \) )*+ \))"},
    {u"{SQUARE}", uR"(\[ [{LINK}{LINK_DOTS}()]*+ \])"},
    {u"{PIECE}", uR"((?: [{LINK_DOTS}]*+ (?: [{LINK}]++ | {ROUND} | {SQUARE} ) ))"},
    {u"{TAIL}", uR"((?: / {PIECE}*+ | [?\#] {PIECE}++ ))"},
    {u"{SCHEME}", uR"((?<![{LATIN}]) (?i: https?+ | ftp ) ://)"},
    {u"{EXCEPT_IN_LINKS}", uR"((?: {SCHEME} | (?<![{WORD}]) (?i: www ) \. )
                               [{LINK}{LINK_DOTS}()\[\]]*+ (*SKIP)(*FAIL) |)"},

    // The top-level domains that turn a name without a scheme or "www." into a link. By far not
    // all, since "file.txt" and "e.g." are not links. Domains that are also file endings or
    // everyday words count only with a port or a path ("notes.md", "user.name").
    {u"{DOMAINS}", uR"(
        com|net|org|edu|gov|mil|int|info|biz|mobi|asia|xyz|online|site|website|shop|store|app|dev|
        blog|news|cloud|tech|club|vip|icu|wiki|studio|agency|digital|social|chat|games|
        a[cdefgilmoqrtuwxz]|b[abdefghijmnorstwyz]|c[adfghiklmnoruvwxyz]|d[ejkmoz]|e[cegrstu]|
        f[ijkmor]|g[abdefghilmnpqrstuwy]|h[kmnrtu]|i[delmnoqrst]|j[emop]|k[eghimnprwyz]|
        l[abcikrstuvy]|m[aceghklmnopqrstuvwxyz]|n[acefgilopruz]|om|p[aefghklnrtwy]|qa|r[eouw]|
        s[abcdegiklmnrtuvxyz]|t[cdfghjklmnortvwz]|u[agksyz]|v[aceginu]|w[fs]|y[et]|z[amw])"},
    {u"{AMBIGUOUS_DOMAINS}", uR"(
        cc|md|ps|py|rs|sh|so|art|design|email|host|life|link|live|media|name|one|page|press|pro|
        rocks|run|space|today|top|work|world|zip)"},
    {u"{OTHER_DOMAINS}", uR"(
        рф|рус|бел|укр|срб|мкд|қаз|мон|бг|ею|дети|москва|онлайн|сайт|орг|ελ|ευ|հայ|გე|ישראל|
        中国|中國|香港|台湾|台灣|澳門|新加坡|公司|网络|网址|在线|한국|ไทย|ລາວ|
        भारत|ভারত|বাংলা|ਭਾਰਤ|ભારત|இந்தியா|இலங்கை|భారత్|ලංකා|
        عمان|مصر|السعودية|امارات|ایران|الاردن|المغرب|تونس|قطر|فلسطين|عراق|سورية|سودان|الجزائر|
        بھارت|پاکستان|شبكة|موقع)"},

    // The separators between the groups of a phone number, and digit sequences that are excluded.
    {u"{GAP}", uR"([\x{20}\x{A0}\x{2009}\x{202F}.\x{2010}\x{2011}-])"},
    {u"{DATE}",
     uR"((?: (?: \d{4} ([-./]) \d{1,2} \g{-1} \d{1,2} | \d{1,2} ([-./]) \d{1,2} \g{-1} \d{4} )
                         (?! [-./]? \d )
                       | (?:19|20)\d{2} [-\x{2013}\x{20}] (?:19|20)\d{2} (?! {GAP}? \d ) ))"},
    {u"{DECIMAL}", uR"((?: \d++ \. \d++ | \d{1,2}+ (?: {GAP} \d{3} )++
                          | \d{1,3}+ (?: \. \d{3} ){2,}+ ) (?! {GAP}? \d ))"},
};

constexpr QStringView url = uR"((?i)
    # With a scheme any host will do.
    {SCHEME} (?: [a-z0-9._~%!$&*+;=:-]{1,100}+ @ )?+
    (?: \[ [0-9a-f:.]{2,45}+ (?: % [a-z0-9._~-]{1,30}+ )? \]
      | (?: [{WORD}-]++ \. ){0,20} {LABEL} )
    {PORT}?+ {TAIL}?+
  |
    # Without one: not in a word, an address, a path or another dotted name.
    (?<! [{LATIN}@\#/\\.%~-] )
    (?: www\. (?: {LABEL} \. ){1,10} {TOP_LEVEL}
      | (?: (?= \p{Latin} ) | (?= \p{N}++ \. ) {WORD_STARTS}
          | (?<! [{WORD}] ) (?! [{UNSPACED}]++ [0-9]++ \. ) )
        (?: {LABEL} \. ){1,10} {UNCAPITALISED}
        (?: {DOMAINS} | {PUNYCODE} | (?: {AMBIGUOUS_DOMAINS} ) (?= / | :[0-9] )
          | (?: {OTHER_DOMAINS} ) (?! [{WORD}] ) )
      | {IPV4} (?= :[0-9] | / (?! [0-9]{1,2}+ (?![0-9]) ) )
      | localhost (?= :[0-9] ) )
    (?! [{LATIN}@] | -++ [\p{L}\p{N}] | \. [\p{L}\p{N}] )
    {PORT}?+ {TAIL}?+)";

// The dot-atoms of RFC 5322 and RFC 6532, without the characters that surround an address more
// often than they belong to one.
constexpr QStringView email = uR"(
    (?<! [{LATIN}@] ) (?<! [{WORD}] [.%+&'~-] ) (?= [{WORD}] [^\s@]{0,63}+ @ )
    (?: (?= [{LATIN}] ) [{LATIN}%+&'~-]++ (?: \. [{LATIN}%+&'~-]++ )*+
      | (?= \p{L} ) (?<! [{WORD}] ) (?: (?!\p{Latin}) [{WORD}%+&'~.-] )++ (?<! \. ) )
    @ (?: {LABEL} \. ){1,10} {TOP_LEVEL}
    (?! [\p{N}_@] | -++ [\p{L}\p{N}] ))";

constexpr QStringView imId = uR"(
    {EXCEPT_IN_LINKS}
    (?<! [/@.=\\] ) (?: (?<! [{WORD}] ) | (?<= [{UNSPACED}] ) (?! @ {TAG} \. [{WORD}] ) )
    @ (?= _*+ [\p{L}\p{N}] ) (?: [{LATIN}]++ {WORD_ENDS} | {TAG} ) (?! @ ))";

constexpr QStringView hashTag = uR"(
    {EXCEPT_IN_LINKS}
    (?<! [/@&=?%\#\x{FF03}\\] ) {WORD_STARTS}
    [\#\x{FF03}] (?= [\p{N}_]*+ \p{L} ) {TAG})";

constexpr QStringView botCommand = uR"(
    {EXCEPT_IN_LINKS}
    (?<! [/@.:<>\\)\]=?&\#%~-] ) {WORD_STARTS}
    / [A-Za-z][A-Za-z0-9_]{0,63}+ (?: @ [A-Za-z0-9_]{1,64}+ )?+
    {WORD_ENDS} (?! [/\\@-] | \. [{WORD}] ))";

// E.164 allows 15 digits. Numbers without separators count from nine digits on: shorter ones are
// more often amounts, dates or codes. Only the last group of digits may be long.
constexpr QStringView phoneNumber = uR"(
    {EXCEPT_IN_LINKS}
    (?<! \d ) (?: {DATE} | {IPV4} (?! \.\d ) | {DECIMAL} ) (*SKIP)(*FAIL)
  |
    (?<! [\p{Sc}@\#=/\\&%+\x{2116}_-] ) (?<! \d[.,:] ) {WORD_STARTS}
    (?: (?: \+\d{7,15}+ | \d{9,15}+ ) (?! [.(-]? \d )
      | (?= [+(]{0,2}+ \d (?: \)?+ (?: {GAP}? \( | {GAP} | / )?+ \d ){6,14}+ (?! {GAP}? \d ) )
        (?: \+ (?: \(\d{1,5}\) | \d{1,5}+ ) (?: {GAP} \d (?=\D) )?+
          | \( \+? \d{1,5} \) | 0\d{1,4}+ / (?= \d{3} ) | \d{1,5}+ )
        (?: {GAP}? \( \d{1,5} \)
          | (?: {GAP} | (?<=[)/]) ) \d{2,15}+ (?: (?<!\d{6}) | (?! (?:{GAP}|[(])?+ \d ) )
        )++ )
    {WORD_ENDS} (?! [@%/:,.][\d\p{L}] | \x{20}? [\p{Sc}%] | @ )
  |
    \d (?: {GAP}? \d )*+ (*SKIP)(*FAIL))";

constexpr QStringView timeOfVideo = uR"(
    {WORD_STARTS} (?<! [0-9][.:,] ) (?<! :: )
    (?: [0-9]{1,2} : [0-5][0-9] : [0-5][0-9] | [0-9]{1,2} : [0-5][0-9] )
    {WORD_ENDS} (?! : [0-9:] | [.,][0-9] ))";

/// Compiles an expression that is never freed: it must outlive every possible caller.
const QRegularExpression &compiled(QStringView pattern)
{
    QString text = pattern.toString();
    for (auto fragment = std::rbegin(fragments); fragment != std::rend(fragments); ++fragment)
        text.replace(fragment->first.toString(), fragment->second.toString());
    const auto *expression =
        new QRegularExpression(text,
                               QRegularExpression::UseUnicodePropertiesOption
                                   | QRegularExpression::ExtendedPatternSyntaxOption);
    expression->optimize();
    Q_ASSERT_X(expression->isValid(), "Util", qUtf8Printable(expression->errorString()));
    return *expression;
}

} // namespace

const QRegularExpression &Util::getRegularUrl()
{
    static const QRegularExpression &expression = compiled(url);
    return expression;
}

const QRegularExpression &Util::getRegularEmail()
{
    static const QRegularExpression &expression = compiled(email);
    return expression;
}

const QRegularExpression &Util::getRegularImId()
{
    static const QRegularExpression &expression = compiled(imId);
    return expression;
}

const QRegularExpression &Util::getRegularPhoneNumber()
{
    static const QRegularExpression &expression = compiled(phoneNumber);
    return expression;
}

const QRegularExpression &Util::getRegularHashTag()
{
    static const QRegularExpression &expression = compiled(hashTag);
    return expression;
}

const QRegularExpression &Util::getRegularBotCmd()
{
    static const QRegularExpression &expression = compiled(botCommand);
    return expression;
}

const QRegularExpression &Util::getRegularTime()
{
    static const QRegularExpression &expression = compiled(timeOfVideo);
    return expression;
}
