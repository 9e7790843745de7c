// Hands the picture that is due to the overlay callback.
#pragma once

#include "decode/picture_converter.h"
#include "pacing/time_source.h"
#include "present/catch_up.h"
#include "present/picture_source.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace velmora {

/// Takes each picture that is shown; its bytes are valid during the call only.
using Overlay = std::function<void(const RgbPicture&)>;

/// Owns the only thread that calls the overlay callback, from construction to destruction.
/// All operations may be called from any thread; none waits for media work, detach, settle and the destructor
/// wait for a callback in progress, unless they are called from inside of it.
class Presenter {
public:
    /// @param time outlives the presenter
    explicit Presenter(TimeSource& time);
    ~Presenter() = default;
    Presenter(const Presenter&) = delete;
    Presenter& operator=(const Presenter&) = delete;

    /// @param overlay called on the presenter's thread; null for nobody
    void set_overlay(Overlay overlay);
    /// Pictures are delivered at the size that fits; the one shown is delivered again.
    void set_display_size(PictureSize size);
    /// Shows the pictures of `source` from now on, or of none, instead of what was shown: at once the one
    /// that it showed last, if there is one. A picture of another one may still be on its way until settle()
    /// has returned.
    void attach(std::shared_ptr<PictureSource> source);
    /// After return no picture is delivered of a source that was attached before the present one.
    void settle();
    /// After return no picture of `source` is delivered any more. It keeps the picture that it showed last.
    void detach(const PictureSource& source);
    /// To be called when something changed that decides what is due: a picture came, the clock was set.
    void wake();
    /// The caller runs inside the overlay callback.
    bool is_own_thread() const { return thread_.is_own_thread(); }

private:
    using Lock = std::unique_lock<std::mutex>;

    void run(const std::stop_token& stop);
    bool step(Lock& lock, SteadyTime& next_due);
    void look_ahead();
    void begin_run(Lock& lock, Picture picture);
    static void remember(const PictureSource& source, const Picture& picture, const RgbPicture& rgb);
    void deliver(Lock& lock, Picture picture, bool is_new);
    bool is_attached(const PictureSource& source);
    void end_delivery();

    TimeSource& time_;
    const std::unique_ptr<WakeSignal> changed_;
    std::mutex mutex_;
    std::condition_variable delivered_;
    // Protected by mutex_:
    std::shared_ptr<PictureSource> source_;
    std::shared_ptr<const Overlay> overlay_;
    std::optional<PictureSize> display_;
    bool redraw_{false};
    std::shared_ptr<const PictureSource> delivering_; ///< whose picture is handed over at the moment
    CatchUp catch_up_;

    PictureConverter converter_; ///< the presenter's thread only
    Worker thread_;              ///< last, so that it ends before what it uses
};

} // namespace velmora
