#ifndef QUORVEL_TOOLS_RUNS_PRINTABLE_H_
#define QUORVEL_TOOLS_RUNS_PRINTABLE_H_

#include <cstddef>
#include <string>

// Converts texts of result files and paths for output. Any thread.
namespace quorvel::runs {

// Returns the text, or its beginning and "..." in at most maxBytes bytes. Cuts no UTF-8 character.
// maxBytes is at least 3.
std::string Shorten(const std::string& text, std::size_t maxBytes);

// Returns the text with each byte that is not UTF-8 replaced by U+FFFD.
std::string MakeUtf8(const std::string& text);

// Returns the result of MakeUtf8 with '?' for each control character, each line separator and each
// character that changes the direction of text. For text that a person reads.
std::string MakePrintable(const std::string& text);

// Returns the first option whose name contains a character other than printable ASCII; null without
// such an option. getopt would write the name unchanged to the terminal. arguments: the argv of
// main.
const char* FindUnprintableOption(char** arguments);

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_PRINTABLE_H_
