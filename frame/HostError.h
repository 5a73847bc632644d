// The viewer's exception, as one C++ type.
//
// A host failure (out of memory, a bad size, a missing folder, a failing table call) travels as
// HostError, raised by raiseHostError and caught by a HostFrame guard where the logic must not
// let it pass. Script-level exceptions are CES::Val and never this type.
#pragma once

#include <cstdint>
#include <utility>

/// Codes raised by the plug-in itself.
constexpr int32_t kHostErrGeneral = 1;
constexpr int32_t kHostErrNoDataFolder = 0x40000001;
constexpr int32_t kHostErrNoMemory = 0x40000002;
constexpr int32_t kHostErrBadSize = 0x40000003;

/// The host exception: a raised error code.
struct HostError {
    int32_t code;
};

/// Raises the host exception with the given code.
[[noreturn]] void raiseHostError(int32_t code);

/// A guard around a region that may raise a host error: run() reports the code (0 for none)
/// instead of letting the exception pass.
class HostFrame {
public:
    template <class Fn> int32_t run(Fn&& fn) {
        try {
            std::forward<Fn>(fn)();
            return 0;
        } catch (const HostError& error) {
            m_code = error.code;
            return error.code;
        }
    }
    /// The code of the last error caught, 0 if none.
    int32_t code() const { return m_code; }

private:
    int32_t m_code = 0;
};
