#ifndef QUORVEL_TESTS_PRIVATE_DATA_H_
#define QUORVEL_TESTS_PRIVATE_DATA_H_

#include <string>
#include <vector>

// The fixed data folder of the application, as the tests see it: a fresh temporary folder that lies
// at the fixed path for the test program alone.
class PrivateData {
public:
    PrivateData() = delete;

    // Whether this process already sees a temporary folder at the fixed path. Ends the process with
    // a message when it was told so but sees another folder, so that no real data is ever touched.
    static bool IsLaid();
    // Makes the temporary folder, runs this program again with it at the fixed path, removes it and
    // returns the exit status for main.
    static int RunLaid(char** argv);

    // The fixed path, without a slash at its end, and the path of a file in it.
    static std::string Folder();
    static std::string Path(const std::string& name);
    // The two result files and the two counters.
    static std::string RnscFile();
    static std::string MainFile();
    static std::string LaunchCounter();
    static std::string CaptureCounter();

    // Removes everything in the folder.
    static void Clean();
    // Creates or replaces a file in the folder, byte for byte.
    static void Write(const std::string& name, const std::string& content);
    static void WriteRnsc(const std::string& content);
    static void WriteMain(const std::string& content);
    // The bytes of a file in the folder; empty when it is missing.
    static std::string Read(const std::string& name);
    static bool Exists(const std::string& name);
    // The names in the folder, sorted.
    static std::vector<std::string> Names();
};

#endif  // QUORVEL_TESTS_PRIVATE_DATA_H_
