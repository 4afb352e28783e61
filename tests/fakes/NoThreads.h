#ifndef QUORVEL_TESTS_NO_THREADS_H_
#define QUORVEL_TESTS_NO_THREADS_H_

#include <pthread.h>

// While an object of this class exists, no thread can be created in this process: the default stack
// size is larger than the address space.
class NoThreads {
public:
    NoThreads() {
        pthread_getattr_default_np(&m_Default);
        pthread_attr_t impossible;
        pthread_attr_init(&impossible);
        pthread_attr_setstacksize(&impossible, kImpossibleStack);
        pthread_setattr_default_np(&impossible);
        pthread_attr_destroy(&impossible);
    }
    ~NoThreads() {
        pthread_setattr_default_np(&m_Default);
        pthread_attr_destroy(&m_Default);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    static constexpr size_t kImpossibleStack = size_t{1} << 60U;

    pthread_attr_t m_Default = {};
};

#endif  // QUORVEL_TESTS_NO_THREADS_H_
