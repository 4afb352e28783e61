#ifndef QUORVEL_TESTS_PLATFORM_PRIVATE_FOLDERS_H_
#define QUORVEL_TESTS_PLATFORM_PRIVATE_FOLDERS_H_

#include <filesystem>
#include <map>
#include <string>
#include <vector>

// Environment variables of a program to start; an empty value takes the variable away.
using Environment = std::map<std::string, std::string>;

// A temporary folder with a home, a session folder, a state folder and a folder for temporary files
// in it, so that no test touches those of the user. All of it goes with the object.
class PrivateFolders {
public:
    PrivateFolders();
    ~PrivateFolders();
    PrivateFolders(const PrivateFolders&) = delete;
    PrivateFolders& operator=(const PrivateFolders&) = delete;

    const std::filesystem::path& Root() const { return m_Root; }
    // Where the running program listens.
    std::filesystem::path Socket() const { return m_Root / "run/quorvel/socket"; }
    std::filesystem::path Log() const { return m_Root / "state/quorvel/quorvel.log"; }

    // The environment of a program that uses these folders, draws into memory and reaches no
    // display.
    Environment Variables() const;

private:
    std::filesystem::path m_Root;
};

// Empty for a file that is not there.
std::string ReadFile(const std::filesystem::path& path);

std::vector<std::string> LinesOf(const std::string& text);

#endif  // QUORVEL_TESTS_PLATFORM_PRIVATE_FOLDERS_H_
