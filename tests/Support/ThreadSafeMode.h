#pragma once

#include <Vexo/PtrInterface.h>

namespace TestSupport {

/** Thread-safe-pointer mode on (or off) for a scope; then as it was. */
class ThreadSafeMode {
public:
    explicit ThreadSafeMode(bool on = true) : before_(Vexo::threadSafePtr()) {
        Vexo::threadSafePtrIs(on);
    }
    ~ThreadSafeMode() { Vexo::threadSafePtrIs(before_); }
    ThreadSafeMode(ThreadSafeMode const&) = delete;
    ThreadSafeMode& operator=(ThreadSafeMode const&) = delete;

private:
    bool before_;
};

}  // namespace TestSupport
