#ifndef QUORVEL_TOOLS_RUNS_DESCRIPTOR_H_
#define QUORVEL_TOOLS_RUNS_DESCRIPTOR_H_

#include <unistd.h>

namespace quorvel::runs {

// Owns the descriptor of an open file or folder and closes it. A negative number means that no file
// is open.
class Descriptor {
public:
    explicit Descriptor(int number) : m_Number(number) {}
    ~Descriptor() {
        if (m_Number >= 0) {
            close(m_Number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return m_Number; }

private:
    int m_Number;
};

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_DESCRIPTOR_H_
