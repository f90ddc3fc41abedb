/// Text from the air on a terminal.
#ifndef VESTA_RECEIVER_TEXT_PRINTABLE_H
#define VESTA_RECEIVER_TEXT_PRINTABLE_H

#include <string>
#include <string_view>

namespace receiver {

/// The sign that stands for what cannot be shown (U+FFFD), as UTF-8.
constexpr char replacementCharacter[] = "\xEF\xBF\xBD";

/// Names, URLs and file names come from anybody: a terminal gets them without anything that it
/// would obey. Each control character (C0 with line ends, DEL, C1), each sign that changes the
/// direction of what follows and each byte that is no UTF-8 becomes the replacement character.
/// @param text one line
std::string printable(std::string_view text);

/// The same line of JSON without characters that a terminal would obey: they become escapes.
/// @param json without C0 controls, as JSON has to be; valid UTF-8
std::string printableJson(std::string_view json);

/// What of these bytes is text: UTF-8 without the bytes that are none, and without NULs.
std::string withoutOtherBytes(std::string_view bytes);

}  // namespace receiver

#endif
