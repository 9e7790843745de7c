/*
 * Assertions that hold in every build: NDEBUG does not remove them.
 */
#ifndef GENERAL_ASSERTION_H
#define GENERAL_ASSERTION_H

/**
 * Writes the standard assertion report, "<program>: <source>:<line>: <function>: Assertion `<expression>'
 * failed.", to standard error and aborts the process.
 */
[[noreturn]] void assertion_failed(const char* expression, const char* source, const char* function,
                                   unsigned line) noexcept;

/**
 * Ends the process with the standard report unless `holds`. `expression` is the text to report and `source`
 * the name of the reporting module; function and line are the caller's.
 */
inline void require(bool holds, const char* expression, const char* source,
                    const char* function = __builtin_FUNCTION(), unsigned line = __builtin_LINE()) noexcept {
    if (!holds) [[unlikely]] {
        assertion_failed(expression, source, function, line);
    }
}

#endif
