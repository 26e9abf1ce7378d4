/// @file
/// Tells events to all who asked for them.
///
/// A notifier calls its sinks in the order in which they were added. While it does so, sinks may add and remove sinks,
/// themselves and the one that is next included, and may notify again. A sink that is removed is not called any more. A
/// sink that is added is called by notifications that begin later, not by those that run already. No sink may destroy
/// the notifier that calls it. A notifier is used by one thread at a time, and calls its sinks on that thread.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/generics/ealallocator.h>

namespace Z4 {

/// The notifier for payloads of any kind, on which Notifier is built; used by one thread at a time. Its memory, a
/// pointer for each sink, comes from the host.
class BaseNotifier {
public:
    /// Who is told, on the thread that notifies. Remove a sink before you destroy it, unless its notifier is destroyed
    /// first.
    class Sink {
    public:
        virtual ~Sink() = default;
        /// @param event the number that was passed to Notify(); its meaning is up to those who notify.
        /// @param payload the pointer that was passed to Notify(), null included. Good until this call returns.
        virtual void OnNotification(unsigned event, const void* payload) = 0;
    };

    /// Takes no memory.
    /// @param contextId the number of an EALId, on behalf of which the host is asked for memory.
    constexpr explicit BaseNotifier(int contextId = EAL_ID_ZELK_CORE) : m_contextId(contextId) {}
    BaseNotifier(const BaseNotifier&) = delete;
    BaseNotifier& operator=(const BaseNotifier&) = delete;
    Z4_API ~BaseNotifier();

    /// Adds a sink behind the others.
    /// @return false, with nothing changed, when the sink is there already and when the host refuses memory.
    [[nodiscard]] Z4_API bool AddSink(Sink& sink);
    /// Needs no memory.
    /// @return false when the sink is not there.
    Z4_API bool RemoveSink(Sink& sink);
    [[nodiscard]] Z4_API bool HasSink(const Sink& sink) const;
    unsigned GetSinkCount() const { return m_sinkCount; }

    /// Calls OnNotification() of every sink with both arguments.
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

/// The notifier for payloads of one type, used by one thread at a time: derive from `Notifier<Payload>::Sink`, and
/// AddSink() the object. Operations are those of BaseNotifier.
/// @tparam Allocator an EalAllocator, whose context memory is taken for.
template <class Payload, class Allocator = ZelkAllocator>
class Notifier {
public:
    /// Who is told, on the thread that notifies. As with BaseNotifier::Sink, remove a sink before you destroy it,
    /// unless its notifier is destroyed first.
    class Sink : private BaseNotifier::Sink {
    public:
        /// @param payload good until this call returns.
        virtual void OnEvent(unsigned event, const Payload& payload) = 0;

    private:
        friend class Notifier;
        void OnNotification(unsigned event, const void* payload) final {
            OnEvent(event, *static_cast<const Payload*>(payload));
        }
    };

    /// Takes no memory. The arguments are for code that hands its allocator on; they change nothing.
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
