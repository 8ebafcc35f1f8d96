#pragma once

#include <Vexo/Types.h>

/* ToolsTest is linked with --wrap=write and so on: what the system answers is chosen here. */

namespace ToolsTest {

enum class SystemCall { write, close, rename };

/**
 * Until its end, each write takes 16 KiB at most and the call number `number` of its kind, from 1,
 * fails with `error`, as do all after it. Of writing and closing those count alone that are of a
 * regular file opened for writing.
 */
class FailingCall {
public:
    FailingCall(SystemCall call, Vexo::U64 number, int error);
    FailingCall(FailingCall const&) = delete;
    FailingCall& operator=(FailingCall const&) = delete;
    ~FailingCall();

    bool hasHappened() const noexcept;
};

/** Until its end, writes to regular files take one byte each, and every other is interrupted. */
class TricklingWrites {
public:
    TricklingWrites();
    TricklingWrites(TricklingWrites const&) = delete;
    TricklingWrites& operator=(TricklingWrites const&) = delete;
    ~TricklingWrites();
};

}  // namespace ToolsTest
