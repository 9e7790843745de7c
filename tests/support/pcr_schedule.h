/*
 * When the packets of a transport stream are due by its own clock.
 */
#ifndef TESTS_SUPPORT_PCR_SCHEDULE_H
#define TESTS_SUPPORT_PCR_SCHEDULE_H

#include <chrono>
#include <cstdint>
#include <span>
#include <vector>

/** One entry a packet and one for the end of the stream, from 0 on. The first PID with a PCR is the clock,
 *  behind its last one the next such PID; between two values time passes evenly, a jump of more than a second
 *  takes no time. */
std::vector<std::chrono::nanoseconds> pcr_schedule(std::span<const std::uint8_t> stream);

#endif
