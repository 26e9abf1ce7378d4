#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/symbolname.h>
#include <zelk_core/services/dbghelp/symbolhandler.h>

namespace Z4::Private {

namespace {

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

/// A text of a limited size that is put together of parts.
class NameWriter {
public:
    NameWriter(char* to, std::size_t size) : m_to(to), m_size(size) {
        if (size != 0) {
            *to = '\0';
        }
    }
    void Append(StrView text) {
        if (m_length < m_size) {
            Str::Copy(m_to + m_length, m_size - m_length, text);
        }
        m_length += text.Size();
    }
    void AppendScope() {
        if (m_length != 0) {
            Append("::");
        }
    }
    std::size_t GetLength() const { return m_length; }

private:
    char* m_to;
    std::size_t m_size;
    std::size_t m_length = 0;
};

struct Operator {
    StrView code;
    StrView name;
};

constexpr Operator OPERATORS[] = {
    {"nw", "operator new"},      {"na", "operator new[]"}, {"dl", "operator delete"}, {"da", "operator delete[]"},
    {"aw", "operator co_await"}, {"ps", "operator+"},      {"ng", "operator-"},       {"ad", "operator&"},
    {"de", "operator*"},         {"co", "operator~"},      {"pl", "operator+"},       {"mi", "operator-"},
    {"ml", "operator*"},         {"dv", "operator/"},      {"rm", "operator%"},       {"an", "operator&"},
    {"or", "operator|"},         {"eo", "operator^"},      {"aS", "operator="},       {"pL", "operator+="},
    {"mI", "operator-="},        {"mL", "operator*="},     {"dV", "operator/="},      {"rM", "operator%="},
    {"aN", "operator&="},        {"oR", "operator|="},     {"eO", "operator^="},      {"ls", "operator<<"},
    {"rs", "operator>>"},        {"lS", "operator<<="},    {"rS", "operator>>="},     {"eq", "operator=="},
    {"ne", "operator!="},        {"lt", "operator<"},      {"gt", "operator>"},       {"le", "operator<="},
    {"ge", "operator>="},        {"ss", "operator<=>"},    {"nt", "operator!"},       {"aa", "operator&&"},
    {"oo", "operator||"},        {"pp", "operator++"},     {"mm", "operator--"},      {"cm", "operator,"},
    {"pm", "operator->*"},       {"pt", "operator->"},     {"cl", "operator()"},      {"ix", "operator[]"},
};

/// Reads one name of the Itanium grammar. Each function that reads says whether what stands there is known; nothing is
/// read after a no.
class ItaniumReader {
public:
    ItaniumReader(StrView text, NameWriter& writer) : m_text(text), m_writer(writer) {}

    bool ReadEncoding() {
        if (Take("Z")) {
            // A name within a function, whose arguments stand between.
            return Nest() && ReadEncoding() && SkipTypes() && ReadEntity();
        }
        return Take("N") ? ReadNested() : ReadUnscoped();
    }

private:
    bool Nest() {
        constexpr int DEEPEST = 32;
        return ++m_depth < DEEPEST;
    }
    char Peek(std::size_t at = 0) const { return at < m_text.Size() ? m_text[at] : '\0'; }
    bool Take(StrView what) {
        if (!Str::StartsWith(m_text, what)) {
            return false;
        }
        m_text = m_text.Substring(what.Size());
        return true;
    }
    /// Digits, perhaps none, and what comes behind them.
    bool TakeNumbered(char end) {
        std::size_t digits = 0;
        while (IsDigit(Peek(digits))) {
            ++digits;
        }
        if (Peek(digits) != end) {
            return false;
        }
        m_text = m_text.Substring(digits + 1);
        return true;
    }

    bool ReadEntity() {
        if (Take("s")) { // a text
            m_writer.Append("::\"\"");
            return true;
        }
        return Take("N") ? ReadNested() : ReadUnscoped();
    }

    bool ReadUnscoped() {
        if (Take("St")) {
            WritePart("std");
        }
        if (!ReadPart()) {
            return false;
        }
        return Peek() != 'I' || ReadTemplateArguments();
    }

    bool ReadNested() {
        while (Take("r") || Take("V") || Take("K")) {
        }
        static_cast<void>(Take("R") || Take("O"));
        if (Take("St")) {
            WritePart("std");
        }
        bool hasPart = false;
        while (!Take("E")) {
            if (Peek() == 'I' ? !hasPart || !ReadTemplateArguments() : !ReadPart()) {
                return false;
            }
            hasPart = true;
        }
        return hasPart;
    }

    bool ReadTemplateArguments() {
        m_writer.Append("<>");
        return SkipType();
    }

    void WritePart(StrView part) {
        m_writer.AppendScope();
        m_writer.Append(part);
        m_last = part;
    }

    /// One name between the colons.
    bool ReadPart() {
        static_cast<void>(Take("L")); // local to the object file
        if (IsDigit(Peek())) {
            StrView part;
            if (!TakeSource(part)) {
                return false;
            }
            WritePart(Str::StartsWith(part, "_GLOBAL__N") ? StrView("(anonymous namespace)") : part);
            m_last = part;
        } else if (Peek() == 'C' && IsDigit(Peek(1))) {
            WritePart(m_last);
            m_text = m_text.Substring(2);
        } else if (Peek() == 'D' && IsDigit(Peek(1))) {
            m_writer.AppendScope();
            m_writer.Append("~");
            m_writer.Append(m_last);
            m_text = m_text.Substring(2);
        } else if (Take("Ul")) {
            WritePart("{lambda}");
            return SkipTypes() && TakeNumbered('_') && SkipTags();
        } else if (Take("Ut")) {
            WritePart("{unnamed}");
            return TakeNumbered('_');
        } else if (!ReadOperator()) {
            return false;
        }
        return SkipTags();
    }

    bool ReadOperator() {
        for (const Operator& known : OPERATORS) {
            if (Take(known.code)) {
                WritePart(known.name);
                return true;
            }
        }
        if (!Take("cv")) {
            return false;
        }
        WritePart("operator ?");
        return SkipType();
    }

    /// Marks of variants of an interface.
    bool SkipTags() {
        StrView tag;
        while (Take("B")) {
            if (!TakeSource(tag)) {
                return false;
            }
        }
        return true;
    }

    bool TakeSource(StrView& part) {
        std::size_t length = 0;
        std::size_t digits = 0;
        for (; IsDigit(Peek(digits)); ++digits) {
            length = length * 10 + static_cast<std::size_t>(Peek(digits) - '0');
            if (length > m_text.Size()) {
                return false;
            }
        }
        if (length == 0 || length > m_text.Size() - digits) {
            return false;
        }
        part = m_text.Substring(digits, length);
        m_text = m_text.Substring(digits + length);
        return true;
    }

    /// Types up to the `E` behind them, and that.
    bool SkipTypes() {
        while (!Take("E")) {
            if (!SkipType()) {
                return false;
            }
        }
        return true;
    }

    /// A type, or what can stand among the arguments of a template. False, too, for expressions, which are rare.
    bool SkipType() {
        const int depth = m_depth;
        const bool isKnown = Nest() && SkipTypeNested();
        m_depth = depth;
        return isKnown;
    }

    bool SkipTypeNested() {
        while (Take("P") || Take("R") || Take("O") || Take("K") || Take("V") || Take("r")) {
        }
        StrView part;
        const char first = Peek();
        if (IsDigit(first)) {
            return TakeSource(part) && SkipTags() && SkipArgumentsBehind();
        }
        if (Take("Dp")) {
            return SkipType();
        }
        if (first == 'D' && Str::FindAny(m_text.Substring(1, 1), "dfheisuanc") == 0) {
            m_text = m_text.Substring(2);
            return true;
        }
        if (Take("N")) {
            return SkipNested();
        }
        if (Take("S")) {
            return SkipSubstitution() && SkipArgumentsBehind();
        }
        if (Take("T")) {
            return TakeNumbered('_') && SkipArgumentsBehind();
        }
        if (Take("F")) {
            static_cast<void>(Take("Y"));
            return SkipTypes();
        }
        if (Take("A")) {
            return TakeNumbered('_') && SkipType();
        }
        if (Take("M")) {
            return SkipType() && SkipType();
        }
        if (Take("I") || Take("J")) {
            return SkipTypes();
        }
        if (Take("L")) {
            return SkipLiteral();
        }
        if (Take("u")) {
            return TakeSource(part);
        }
        if (first >= 'a' && first <= 'z') {
            m_text = m_text.Substring(1);
            return true;
        }
        return false;
    }

    bool SkipArgumentsBehind() { return Peek() != 'I' || SkipType(); }

    /// Behind the first letter of `St`, `Sa`, `S_`, `S0_`.
    bool SkipSubstitution() {
        StrView part;
        if (Take("t")) {
            return !IsDigit(Peek()) || TakeSource(part);
        }
        if (Take("_") || Take("a") || Take("b") || Take("s") || Take("i") || Take("o") || Take("d")) {
            return true;
        }
        std::size_t length = 0;
        while (IsDigit(Peek(length)) || (Peek(length) >= 'A' && Peek(length) <= 'Z')) {
            ++length;
        }
        m_text = m_text.Substring(length);
        return Take("_");
    }

    bool SkipNested() {
        while (Take("r") || Take("V") || Take("K")) {
        }
        StrView part;
        while (!Take("E")) {
            if (Take("S")) {
                if (!SkipSubstitution()) {
                    return false;
                }
            } else if (Peek() == 'I' || Peek() == 'T') {
                if (!SkipType()) {
                    return false;
                }
            } else if (Take("Ul")) {
                if (!SkipTypes() || !TakeNumbered('_')) {
                    return false;
                }
            } else if (Take("Ut")) {
                if (!TakeNumbered('_')) {
                    return false;
                }
            } else {
                static_cast<void>(Take("L"));
                if (!TakeSource(part) || !SkipTags()) {
                    return false;
                }
            }
        }
        return true;
    }

    /// A number of a type, `Lj4E`, or the address of something, `L_Z...E`.
    bool SkipLiteral() {
        if (Peek() == '_' || !SkipType()) {
            return false;
        }
        const std::size_t end = Str::Find(m_text, "E");
        m_text = m_text.Substring(end);
        return Take("E");
    }

    StrView m_text;
    NameWriter& m_writer;
    StrView m_last; ///< the name of the class, for its constructors
    int m_depth = 0;
};

/// Reads a name of Microsoft's form, whose parts stand from the innermost to the outermost, each ended by `@`.
bool ReadMicrosoft(StrView text, NameWriter& writer) {
    constexpr std::size_t MOST_PARTS = 16;
    StrView parts[MOST_PARTS];
    std::size_t count = 0;
    const bool isConstructor = Str::StartsWith(text, "?0");
    const bool isDestructor = Str::StartsWith(text, "?1");
    text = text.Substring(isConstructor || isDestructor ? 2 : 0);
    for (; !Str::StartsWith(text, "@"); ++count) {
        StrView part;
        if (text.IsEmpty() || count == MOST_PARTS) {
            return false;
        }
        if (IsDigit(text[0])) {
            // Of what was named before, the first ten parts are known by their numbers.
            const std::size_t number = static_cast<std::size_t>(text[0] - '0');
            if (number >= count) {
                return false;
            }
            parts[count] = parts[number];
            text = text.Substring(1);
            continue;
        }
        const std::size_t end = Str::Find(text, "@");
        if (end == StrView::NPOS) {
            return false;
        }
        part = text.Substring(0, end);
        const bool isAnonymous = Str::StartsWith(part, "?A");
        if (!isAnonymous && Str::Find(part, "?") != StrView::NPOS) {
            return false; // a template, or a name within a function
        }
        parts[count] = isAnonymous ? StrView("(anonymous namespace)") : part;
        text = text.Substring(end + 1);
    }
    if (count == 0) {
        return false;
    }
    for (std::size_t i = count; i-- != 0;) {
        writer.AppendScope();
        writer.Append(parts[i]);
    }
    if (isConstructor || isDestructor) {
        writer.Append(isConstructor ? "::" : "::~");
        writer.Append(parts[0]);
    }
    return true;
}

} // namespace

std::size_t ShortenName(StrView name, char* to, std::size_t size) {
    NameWriter writer(to, size);
    bool isKnown = false;
    if (Str::StartsWith(name, "_Z")) {
        isKnown = ItaniumReader(name.Substring(2), writer).ReadEncoding();
    } else if (Str::StartsWith(name, "?")) {
        isKnown = ReadMicrosoft(name.Substring(1), writer);
    }
    return isKnown ? writer.GetLength() : Str::Copy(to, size, name);
}

} // namespace Z4::Private

unsigned long Z4::SymbolHandler::DemangleQuick(const char* name, char* text, unsigned long size) {
    return static_cast<unsigned long>(Private::ShortenName(name, text, size));
}
