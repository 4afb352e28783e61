#ifndef QUORVEL_TOOLS_RUNS_PRINTABLE_H_
#define QUORVEL_TOOLS_RUNS_PRINTABLE_H_

#include <cstddef>
#include <string>

// Prepares texts of files for output. Any thread.
namespace quorvel::runs {

// Returns the text, or its beginning and "..." in at most maxBytes bytes. Cuts no UTF-8 character.
std::string Shorten(const std::string& text, std::size_t maxBytes);

// Returns the text with each byte that is not UTF-8 replaced by U+FFFD.
std::string MakeUtf8(const std::string& text);

// Does what MakeUtf8 does, for a text that a person reads: replaces also each control character and
// each character that changes the direction of text or separates lines by '?'.
std::string MakePrintable(const std::string& text);

// Returns the first option whose name has other characters than printable ASCII; null without such
// an option. getopt would write the name unchanged to the terminal. arguments: as main receives
// them.
const char* FindUnprintableOption(char** arguments);

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_PRINTABLE_H_
