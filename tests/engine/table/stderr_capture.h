// What a test's own process writes to standard error.
#pragma once

#include <string>
#include <vector>

/// Collects standard error in a file from construction on.
class StderrCapture {
public:
    StderrCapture();
    ~StderrCapture();
    StderrCapture(const StderrCapture&) = delete;
    StderrCapture& operator=(const StderrCapture&) = delete;

    /// The lines written so far.
    std::vector<std::string> lines() const;

private:
    int real_;
    int file_;
};
