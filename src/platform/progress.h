// Where a pass shows how far it is.
#pragma once

namespace corvalissement {

// A bar with a maximum and a value. Either setter refuses (false, nothing changed) what the bar cannot
// show: a maximum below 1, a value below 0 or above the maximum.
class ProgressSink {
public:
    virtual ~ProgressSink() = default;
    virtual void show_progress(bool visible) = 0;
    virtual bool set_progress_max(long max) = 0;
    virtual bool set_progress(long value) = 0;
};

// For an edition that nobody watches.
class NoProgress final : public ProgressSink {
public:
    void show_progress(bool) override {}
    bool set_progress_max(long max) override { return max >= 1; }
    bool set_progress(long) override { return true; }
};

} // namespace corvalissement
