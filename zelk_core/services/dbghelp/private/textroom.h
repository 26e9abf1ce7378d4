// Text that is put together in a caller's buffer, of which the whole length is told even where it does not fit.
#pragma once

#include <zelk_core/base/strformat.h>

namespace Z4::Private {

class TextRoom {
public:
    /// @param text may be null when `size` is 0.
    TextRoom(char* text, unsigned long size) : m_text(text), m_size(size) {
        if (size != 0) {
            *text = '\0';
        }
    }

    template <class... Arguments>
    void Print(FormatString<std::type_identity_t<Arguments>...> format, Arguments... arguments) {
        char* const end = m_length < m_size ? m_text + m_length : nullptr;
        const unsigned room = m_length < m_size ? static_cast<unsigned>(m_size - m_length) : 0;
        m_length += static_cast<unsigned long>(StrFormat::Print(end, room, format, arguments...));
    }

    unsigned long Length() const { return m_length; }

private:
    char* m_text;
    unsigned long m_size;
    unsigned long m_length = 0;
};

} // namespace Z4::Private
