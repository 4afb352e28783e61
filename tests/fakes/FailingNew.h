#ifndef QUORVEL_TESTS_FAILING_NEW_H_
#define QUORVEL_TESTS_FAILING_NEW_H_

// Makes one non-throwing allocation (new (std::nothrow)) of this thread fail: the nth allocation
// after the construction; 1 is the next. Throwing allocations and other threads are not affected.
// Objects of this class must not overlap in one thread.
class FailingNew {
public:
    explicit FailingNew(int nth = 1);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    // Returns whether the allocation has failed. Every test must check this value, because a test
    // without the failure tests nothing.
    bool HasFailed() const;
};

#endif  // QUORVEL_TESTS_FAILING_NEW_H_
