#ifndef QUORVEL_TESTS_FAILING_NEW_H_
#define QUORVEL_TESTS_FAILING_NEW_H_

// Makes one non-throwing allocation (new (std::nothrow)) of this thread fail: the nth from the
// construction on, 1 being the next. Allocations that throw, and those of other threads, go on as
// ever. Guards do not nest.
class FailingNew {
public:
    explicit FailingNew(int nth = 1);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    // Whether the allocation came and was refused. A test that does not look may have tested
    // nothing.
    bool HasFailed() const;
};

#endif  // QUORVEL_TESTS_FAILING_NEW_H_
