#include "decode/processor_time.h"

#include <ctime>

namespace velmora {

std::chrono::duration<double> processor_time() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
}

} // namespace velmora
