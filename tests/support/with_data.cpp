/*
 * Puts a data stream into a transport stream, a unit of data behind each picture: something to try with.
 *
 *   with_data FROM TO        (files of 188-byte packets with one programme, as ffmpeg makes them)
 */
#include "support/data_stream.h"

#include <cstdio>
#include <fstream>
#include <iterator>

int main(int argument_count, char** arguments) {
    if (argument_count != 3) {
        std::fputs("usage: with_data FROM TO\n", stderr);
        return 2;
    }
    std::ifstream from{arguments[1], std::ios::binary};
    const std::vector<std::uint8_t> stream{std::istreambuf_iterator<char>{from}, {}};
    const DataStream made = with_data(stream, DataCarriage::asynchronous);
    std::ofstream to{arguments[2], std::ios::binary};
    to.write(reinterpret_cast<const char*>(made.stream.data()),
             static_cast<std::streamsize>(made.stream.size()));
    to.close();
    if (!to) {
        std::fprintf(stderr, "%s cannot be written\n", arguments[2]);
        return 1;
    }
    std::printf("%zu units of data\n", made.units.size());
}
