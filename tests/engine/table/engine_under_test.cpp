#include "engine_under_test.h"

#include "support/block_pattern.h"

#include <cstring>
#include <dlfcn.h>
#include <future>
#include <span>
#include <stdexcept>

EngineLibrary::EngineLibrary() : library_{dlopen(ENGINE_LIBRARY, RTLD_LAZY)} {
    if (library_ == nullptr) {
        throw std::runtime_error{dlerror()};
    }
    table_ = static_cast<const velmora_t*>(dlsym(library_, "m_velmora"));
    extension_ = static_cast<const velmora_ext_t*>(dlsym(library_, "m_velmora_ext"));
}

EngineLibrary::~EngineLibrary() {
    dlclose(library_);
}

EngineUnderTest::EngineUnderTest(const EngineLibrary& library) : library_{library} {
    if (table().Velmora_open(velmora_setup_t{4, 0, 0, 0, 0}, &handle_) != 0) {
        throw std::runtime_error{"Velmora_open failed"};
    }
    table().Velmora_register_user_overlay(handle_, &EngineUnderTest::overlay, this);
}

EngineUnderTest::~EngineUnderTest() {
    close();
}

void EngineUnderTest::close() {
    if (handle_ != 0) {
        table().Velmora_close(handle_);
        handle_ = 0;
    }
}

int EngineUnderTest::play(const std::filesystem::path& file, int speed, int direction) {
    playback_setup_t setup{};
    setup.speed = speed;
    setup.direction = direction;
    return start(file, setup);
}

std::optional<int> EngineUnderTest::play_within(std::chrono::seconds limit, const std::filesystem::path& file,
                                                int speed, int direction) {
    auto result = std::async(std::launch::async, [&] { return play(file, speed, direction); });
    if (result.wait_for(limit) == std::future_status::timeout) {
        stop();
        return std::nullopt;
    }
    return result.get();
}

int EngineUnderTest::play_with_index(const std::filesystem::path& file, int speed) {
    playback_setup_t setup{};
    setup.speed = speed;
    setup.direction = PLAYER_DIR_FORWARD;
    setup.is_trick_mode = 1;
    return start(file, setup);
}

int EngineUnderTest::play_repeated(const std::filesystem::path& file, int speed, int direction) {
    playback_setup_t setup{};
    setup.is_cyclic = 1;
    setup.speed = speed;
    setup.direction = direction;
    return start(file, setup);
}

int EngineUnderTest::start(const std::filesystem::path& file, playback_setup_t setup) {
    std::strncpy(setup.file_name, file.c_str(), sizeof setup.file_name - 1);
    table().Velmora_set_playback_param(handle_, setup);
    return table().Velmora_start(handle_, 1);
}

void EngineUnderTest::set_tempo(int direction, int speed) {
    table().Velmora_set_event(handle_, playback_event_t{UPDATE_EVENT, 0, direction, speed});
}

void EngineUnderTest::seek(int second) {
    table().Velmora_set_event(handle_, playback_event_t{SEEK_EVENT, second, 0, 0});
}

velmora_info_t EngineUnderTest::info(bool reset) const {
    velmora_info_t info{};
    table().Velmora_get_info(handle_, &info, reset ? 1 : 0);
    return info;
}

velmora_message_t EngineUnderTest::message() const {
    velmora_message_t message{};
    library_.extension().Velmora_get_message(handle_, &message);
    return message;
}

void EngineUnderTest::keep_bytes(bool keep) {
    const std::lock_guard lock{mutex_};
    keep_bytes_ = keep;
}

std::vector<ReceivedPicture> EngineUnderTest::pictures() const {
    const std::lock_guard lock{mutex_};
    return pictures_;
}

std::size_t EngineUnderTest::picture_count() const {
    const std::lock_guard lock{mutex_};
    return pictures_.size();
}

void EngineUnderTest::forget_pictures() {
    const std::lock_guard lock{mutex_};
    pictures_.clear();
}

std::optional<unsigned> EngineUnderTest::last_number() const {
    const std::lock_guard lock{mutex_};
    return pictures_.empty() ? std::nullopt : pictures_.back().number;
}

void EngineUnderTest::set_in_callback(std::function<void()> action) {
    const std::lock_guard lock{mutex_};
    in_callback_ = std::move(action);
}

bool EngineUnderTest::wait_for_pictures(std::size_t count, std::chrono::seconds limit) {
    std::unique_lock lock{mutex_};
    return received_.wait_for(lock, limit, [&] { return pictures_.size() >= count; });
}

bool EngineUnderTest::wait_for_info(const std::function<bool(const velmora_info_t&)>& condition,
                                    std::chrono::seconds limit) const {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition(info())) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{5});
    }
    return true;
}

void EngineUnderTest::overlay(void* self, int /*channel*/, unsigned int /*format*/, int width, int height,
                              int pitch, void* bitmap, void* /*extension*/) {
    auto& engine = *static_cast<EngineUnderTest*>(self);
    const std::span bytes{static_cast<const std::uint8_t*>(bitmap),
                          static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height)};
    ReceivedPicture picture;
    picture.number = pattern::read_number({bytes.data(), width, height, pitch});
    picture.width = width;
    picture.height = height;
    picture.pitch = pitch;
    picture.thread = std::this_thread::get_id();
    picture.when = std::chrono::steady_clock::now();
    std::function<void()> action;
    {
        const std::lock_guard lock{engine.mutex_};
        if (engine.keep_bytes_) {
            picture.bytes.assign(bytes.begin(), bytes.end());
        }
        engine.pictures_.push_back(std::move(picture));
        action = engine.in_callback_;
    }
    engine.received_.notify_all();
    if (action) {
        action();
    }
}
