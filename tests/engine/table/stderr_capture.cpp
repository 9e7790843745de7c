#include "stderr_capture.h"

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

StderrCapture::StderrCapture() {
    std::string name = "/tmp/velmora-stderr-XXXXXX";
    file_ = ::mkstemp(name.data());
    if (file_ < 0) {
        throw std::runtime_error{"no file for standard error"};
    }
    ::unlink(name.c_str());
    real_ = ::dup(STDERR_FILENO);
    ::dup2(file_, STDERR_FILENO);
}

StderrCapture::~StderrCapture() {
    ::dup2(real_, STDERR_FILENO);
    ::close(real_);
    ::close(file_);
}

std::vector<std::string> StderrCapture::lines() const {
    std::vector<std::string> lines(1);
    std::array<char, 4096> block{};
    off_t offset = 0;
    for (ssize_t count = 0; (count = ::pread(file_, block.data(), block.size(), offset)) > 0;
         offset += count) {
        for (ssize_t i = 0; i < count; ++i) {
            const char character = block.at(static_cast<std::size_t>(i));
            if (character == '\n') {
                lines.emplace_back();
            } else {
                lines.back().push_back(character);
            }
        }
    }
    if (lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}
