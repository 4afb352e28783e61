// quorvel-report: reports and analyses the failed items of many runs.

#include <csignal>

#include "report/options.h"
#include "report/report.h"
#include "xml_input.h"

int main(int argc, char** argv) {
    // A reader that closes the pipe is a failed write.
    std::signal(SIGPIPE, SIG_IGN);
    // What is wrong with a file is a value of its run.
    quorvel::desktop::LimitXmlInput([](const std::string&) {});
    return quorvel::report::WriteReport(quorvel::report::ParseOptions(argc, argv));
}
