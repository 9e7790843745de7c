#include "scratch_files.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

ScratchFolder::ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "velmora-files-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error{"no scratch folder"};
    }
    path_ = name;
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path ScratchFolder::write(const std::string& name, const Bytes& bytes) const {
    auto file = path_ / name;
    std::ofstream stream{file, std::ios::binary};
    std::copy(bytes.begin(), bytes.end(), std::ostreambuf_iterator<char>{stream});
    return file;
}

std::filesystem::path ScratchFolder::write_sparse(const std::string& name, const Bytes& head,
                                                  std::uintmax_t size) const {
    auto file = write(name, head);
    std::filesystem::resize_file(file, size);
    return file;
}

Bytes read_bytes(const std::filesystem::path& file) {
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, std::istreambuf_iterator<char>{}};
}
