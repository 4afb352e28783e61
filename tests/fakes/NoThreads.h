#ifndef QUORVEL_TESTS_NO_THREADS_H_
#define QUORVEL_TESTS_NO_THREADS_H_

#include <pthread.h>

// While it lives, no thread can be made in this process: each would get a stack larger than the
// address space.
class NoThreads {
public:
    NoThreads() {
        pthread_getattr_default_np(&m_usual);
        pthread_attr_t impossible;
        pthread_attr_init(&impossible);
        pthread_attr_setstacksize(&impossible, IMPOSSIBLE_STACK);
        pthread_setattr_default_np(&impossible);
        pthread_attr_destroy(&impossible);
    }
    ~NoThreads() {
        pthread_setattr_default_np(&m_usual);
        pthread_attr_destroy(&m_usual);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    static constexpr size_t IMPOSSIBLE_STACK = size_t{1} << 60U;

    pthread_attr_t m_usual = {};
};

#endif  // QUORVEL_TESTS_NO_THREADS_H_
