// The arguments of a variadic function, laid out by hand as the words that its caller pushes.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

namespace ZelkTest {

static_assert(std::is_same_v<va_list, char*>, "a list of arguments is the address of the first word");

/// A block of exactly `count` elements, so that a sanitizer sees every access beyond it.
template <class Value>
std::unique_ptr<Value[]> ExactCopy(const Value* values, std::size_t count) {
    auto block = std::make_unique<Value[]>(count);
    std::copy_n(values, count, block.get());
    return block;
}

/// Argument words, and the strings that they point to.
class Arguments {
public:
    template <class Value>
    void Add(Value value) {
        std::uint32_t words[sizeof(Value) / sizeof(std::uint32_t)];
        std::memcpy(words, &value, sizeof(value));
        m_words.insert(m_words.end(), std::begin(words), std::end(words));
    }

    /// A pointer to these characters, which bring their own terminator if they need one.
    template <class Characters>
    void AddString(const Characters& characters) {
        m_strings.push_back(ExactCopy(characters.data(), characters.size()));
        Add(m_strings.back().get());
    }

    std::size_t Size() const { return m_words.size(); }

    /// The words from one number up to another; as a va_list, `reinterpret_cast<va_list>(words.get())`.
    std::unique_ptr<std::uint32_t[]> Words(std::size_t from, std::size_t to) const {
        return ExactCopy(m_words.data() + from, to - from);
    }

private:
    std::vector<std::uint32_t> m_words;
    std::vector<std::shared_ptr<const void>> m_strings;
};

} // namespace ZelkTest
