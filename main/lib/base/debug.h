#pragma once

#include "main/lib/base/exceptions.h"
#include "main/lib/base/logger.h"

namespace ztlib {

// A place for a debugger's breakpoint: called before every throw and after every failed assertion.
void DebugBreakHook() noexcept;

void ReportFailedAssertion(const char* source, int line, const char* condition);

// Throws after the hook. `function` and `source` name the site as clients and debuggers know it.
#define ZT_THROW(Type, message, function, source, line) \
  do {                                                  \
    DebugBreakHook();                                   \
    throw Type(message, function, source, line);        \
  } while (false)

// Prints to standard error and goes on: it documents an expectation, it does not protect.
#define ZT_ASSERT(condition, source, line)             \
  do {                                                 \
    if (!(condition)) [[unlikely]]                     \
      ReportFailedAssertion(source, line, #condition); \
  } while (false)

// Logs when the condition holds and goes on. The exception object is built for a debugger that
// stops on its construction, and dropped.
#define ZT_MUST_BE_FALSE(condition, function, source, line)                                      \
  do {                                                                                           \
    if (condition) [[unlikely]] {                                                                \
      ZT_LOG(1, source, line, "EXCEPTION! %s:%d: " #condition "should be false!", source, line); \
      [[maybe_unused]] const CException dropped("Guard condition should be false: " #condition,  \
                                                function, source, line);                         \
    }                                                                                            \
  } while (false)

// Logs entry and exit of a scope at level 2. What a log callback throws at the exit leaves the
// scope only if it is the end of a cancelled thread.
class CDebugScope {
 public:
  explicit CDebugScope(const char* name);
  ~CDebugScope() noexcept(false);
  CDebugScope(const CDebugScope&) = delete;
  CDebugScope& operator=(const CDebugScope&) = delete;

 private:
  const char* name;
};

}  // namespace ztlib
