#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace nbx {

// A part of the window built at its first use, so that start-up paints the first screen without
// building the others. Whoever wires it says so with whenBuilt(), which runs at the build, before
// any other use sees it. Main thread only.
template <typename T>
class LazyWidget {
public:
    explicit LazyWidget(std::function<T*()> build) : build_(std::move(build)) {}
    LazyWidget(const LazyWidget&) = delete;
    LazyWidget& operator=(const LazyWidget&) = delete;

    T* get() {
        if (!widget_) {
            widget_ = build_();
            // A wiring step may use this part again: it is built by then.
            for (auto& wire : std::exchange(wiring_, {}))
                wire(widget_);
        }
        return widget_;
    }
    T* operator->() { return get(); }
    operator T*() { return get(); }
    bool isBuilt() const { return widget_ != nullptr; }

    // Runs now when built, else at the build.
    void whenBuilt(std::function<void(T*)> wire) {
        if (widget_) {
            wire(widget_);
        } else {
            wiring_.push_back(std::move(wire));
        }
    }

private:
    std::function<T*()> build_;
    T* widget_ = nullptr;
    std::vector<std::function<void(T*)>> wiring_;
};

}  // namespace nbx
