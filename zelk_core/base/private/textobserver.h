// How a service above sees the texts that are made down here: one pointer, which is null as long as nobody watches.
#pragma once

#include <atomic>
#include <cstdarg>

namespace Z4::Private {

/// Where a text comes from. The numbers are those of StringBreakpoint::Source.
inline constexpr unsigned TEXT_OF_LOG = 1;
inline constexpr unsigned TEXT_OF_ASSERTION = 2;
inline constexpr unsigned TEXT_OF_FORMATTER = 4;

/// Called on the thread that makes the text. With `arguments` the text is a format still; the observer uses them up.
using TextObserver = void (*)(unsigned source, const char* text, va_list* arguments);

inline constinit std::atomic<TextObserver> g_textObserver{nullptr};

inline void ObserveText(unsigned source, const char* text) {
    if (const TextObserver observer = g_textObserver.load(std::memory_order_acquire); observer != nullptr) {
        observer(source, text, nullptr);
    }
}

} // namespace Z4::Private
