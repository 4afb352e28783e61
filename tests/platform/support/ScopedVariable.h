#ifndef QUORVEL_TESTS_PLATFORM_SCOPED_VARIABLE_H_
#define QUORVEL_TESTS_PLATFORM_SCOPED_VARIABLE_H_

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

// Sets an environment variable, or takes it away, until the object goes.
class ScopedVariable {
public:
    ScopedVariable(std::string name, const std::optional<std::string>& value)
        : m_Name(std::move(name)) {
        const char* before = std::getenv(m_Name.c_str());
        if (before != nullptr) {
            m_Before = before;
        }
        Set(value);
    }
    ~ScopedVariable() { Set(m_Before); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void Set(const std::optional<std::string>& value) {
        if (value) {
            setenv(m_Name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(m_Name.c_str());
        }
    }

    std::string m_Name;
    std::optional<std::string> m_Before;
};

#endif  // QUORVEL_TESTS_PLATFORM_SCOPED_VARIABLE_H_
