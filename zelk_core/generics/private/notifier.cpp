#include <zelk_core/base/assert.h>
#include <zelk_core/generics/notifier.h>

namespace Z4 {

static_assert(sizeof(BaseNotifier) == 24);

namespace {
constexpr unsigned FIRST_CAPACITY = 4;
} // namespace

BaseNotifier::~BaseNotifier() {
    Z4_ASSERT(m_running == 0, "No sink destroys the notifier that calls it.");
    Private::FreeToHost(m_sinks);
}

bool BaseNotifier::AddSink(Sink& sink) {
    if (HasSink(sink)) {
        return false;
    }
    if (m_used == m_capacity) {
        const unsigned capacity = m_capacity == 0 ? FIRST_CAPACITY : 2 * m_capacity;
        auto* const sinks =
            static_cast<Sink**>(Private::AllocateFromHost(capacity * sizeof(void*), alignof(void*), m_contextId));
        if (sinks == nullptr) {
            return false;
        }
        for (unsigned i = 0; i < m_used; ++i) {
            sinks[i] = m_sinks[i];
        }
        Private::FreeToHost(m_sinks);
        m_sinks = sinks;
        m_capacity = capacity;
    }
    m_sinks[m_used++] = &sink;
    ++m_sinkCount;
    return true;
}

bool BaseNotifier::RemoveSink(Sink& sink) {
    const unsigned index = IndexOf(sink);
    if (index == m_used) {
        return false;
    }
    m_sinks[index] = nullptr;
    --m_sinkCount;
    if (m_running == 0) {
        CloseGaps();
    }
    return true;
}

bool BaseNotifier::HasSink(const Sink& sink) const {
    return IndexOf(sink) != m_used;
}

void BaseNotifier::Notify(unsigned event, const void* payload) {
    ++m_running;
    const unsigned count = m_used; // Those added from now on stand behind.
    for (unsigned i = 0; i < count; ++i) {
        if (m_sinks[i] != nullptr) {
            m_sinks[i]->OnNotification(event, payload);
        }
    }
    if (--m_running == 0 && m_used != m_sinkCount) {
        CloseGaps();
    }
}

unsigned BaseNotifier::IndexOf(const Sink& sink) const {
    unsigned index = 0;
    while (index < m_used && m_sinks[index] != &sink) {
        ++index;
    }
    return index;
}

void BaseNotifier::CloseGaps() {
    unsigned kept = 0;
    for (unsigned i = 0; i < m_used; ++i) {
        if (m_sinks[i] != nullptr) {
            m_sinks[kept++] = m_sinks[i];
        }
    }
    m_used = kept;
}

} // namespace Z4
