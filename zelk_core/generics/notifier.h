/// @file
/// Calls everyone who asked to be told of events, in the order in which they asked.
///
/// While a notification runs, sinks may add and remove sinks, themselves and the one called next included, and may
/// notify again. A sink removed meanwhile is not called any more; one that is added is called from the next
/// notification on, not in any that runs already. A sink must not destroy the notifier that calls it. Notifiers are
/// not synchronised.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/generics/ealallocator.h>

namespace Z4 {

/// The notifier for payloads of any kind. It takes its memory, a pointer for each sink, from the host's table.
class BaseNotifier {
public:
    /// What is called. It must be removed before it is destroyed, unless the notifier goes first.
    class Sink {
    public:
        virtual ~Sink() = default;
        /// @param event what happened, by the notifier's own numbers.
        /// @param payload as the event has it; not to be kept.
        virtual void OnNotification(unsigned event, const void* payload) = 0;
    };

    /// @param contextId the number of the EALId under which memory is taken.
    constexpr explicit BaseNotifier(int contextId = EAL_ID_ZELK_CORE) : m_contextId(contextId) {}
    BaseNotifier(const BaseNotifier&) = delete;
    BaseNotifier& operator=(const BaseNotifier&) = delete;
    Z4_API ~BaseNotifier();

    /// @return false, with nothing changed, when the sink is there already and when memory is refused.
    [[nodiscard]] Z4_API bool AddSink(Sink& sink);
    /// Never needs memory. @return false when there is no such sink.
    Z4_API bool RemoveSink(Sink& sink);
    [[nodiscard]] Z4_API bool HasSink(const Sink& sink) const;
    unsigned GetSinkCount() const { return m_sinkCount; }

    Z4_API void Notify(unsigned event, const void* payload);

private:
    unsigned IndexOf(const Sink& sink) const;
    void CloseGaps();

    // A sink that goes during a notification leaves a null behind, so that none of those after it changes its place.
    Sink** m_sinks = nullptr;
    unsigned m_capacity = 0;
    unsigned m_used = 0; ///< places, nulls included
    unsigned m_sinkCount = 0;
    unsigned m_running = 0; ///< notifications, one within the other
    int m_contextId;
};

/// The same for payloads of one type.
/// @tparam Allocator an EalAllocator.
template <class Payload, class Allocator = ZelkAllocator>
class Notifier {
public:
    /// What is called, see BaseNotifier::Sink.
    class Sink : private BaseNotifier::Sink {
    public:
        virtual void OnEvent(unsigned event, const Payload& payload) = 0;

    private:
        friend class Notifier;
        void OnNotification(unsigned event, const void* payload) final {
            OnEvent(event, *static_cast<const Payload*>(payload));
        }
    };

    constexpr explicit Notifier(const Allocator& = Allocator(),
                                const typename Allocator::Context& = typename Allocator::Context())
        : m_notifier(Allocator::GetId().GetId()) {}

    [[nodiscard]] bool AddSink(Sink& sink) { return m_notifier.AddSink(sink); }
    bool RemoveSink(Sink& sink) { return m_notifier.RemoveSink(sink); }
    [[nodiscard]] bool HasSink(const Sink& sink) const { return m_notifier.HasSink(sink); }
    unsigned GetSinkCount() const { return m_notifier.GetSinkCount(); }
    void Notify(unsigned event, const Payload& payload) {
        if (GetSinkCount() != 0) {
            m_notifier.Notify(event, &payload);
        }
    }

private:
    BaseNotifier m_notifier;
};

} // namespace Z4
