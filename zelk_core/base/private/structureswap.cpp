#include <zelk_core/base/assert.h>
#include <zelk_core/base/structureswap.h>

namespace Z4 {

namespace {

constexpr unsigned GUID_FIELD = 16;
constexpr unsigned DEEPEST_NESTING = 8;

unsigned ElementSize(const SwapField& field) {
    return field.size != 0 ? field.size : field.nested->recordSize;
}

bool IsValidField(const SwapField& field) {
    switch (field.size) {
    case 0:
        return field.nested != nullptr && field.count != 0;
    case 1:
    case 2:
    case 4:
    case 8:
    case GUID_FIELD:
        return field.nested == nullptr && field.count != 0;
    default:
        return false;
    }
}

struct Range {
    std::uint64_t begin;
    std::uint64_t end;
};

Range RangeOf(const SwapField& field) {
    return {field.offset, field.offset + std::uint64_t{field.count} * ElementSize(field)};
}

bool IsValidLayout(const SwapLayout& layout, unsigned depth) {
    if (depth > DEEPEST_NESTING || layout.recordSize == 0 || (layout.fields == nullptr && layout.fieldCount != 0)) {
        return false;
    }
    for (unsigned i = 0; i < layout.fieldCount; ++i) {
        const SwapField& field = layout.fields[i];
        if (!IsValidField(field)) {
            return false;
        }
        const Range range = RangeOf(field);
        if (range.end > layout.recordSize) {
            return false;
        }
        for (unsigned k = 0; k < i; ++k) {
            const Range other = RangeOf(layout.fields[k]);
            if (range.begin < other.end && other.begin < range.end) {
                return false;
            }
        }
        if (field.nested != nullptr && !IsValidLayout(*field.nested, depth + 1)) {
            return false;
        }
    }
    return true;
}

template <class Bits>
void SwapEach(unsigned char* at, unsigned count) {
    for (; count != 0; --count, at += sizeof(Bits)) {
        StoreBig(at, LoadLittle<Bits>(at));
    }
}

/// The last half of an identifier is bytes.
void SwapGuid(unsigned char* at) {
    SwapEach<std::uint32_t>(at, 1);
    SwapEach<std::uint16_t>(at + 4, 2);
}

} // namespace

Error StructureSwap::Check(const SwapLayout& layout) {
    return IsValidLayout(layout, 1) ? ERR_OK : ERR_INVALID;
}

void StructureSwap::Record(void* record, const SwapLayout& layout, std::size_t count) {
    Z4_ASSERT(Check(layout) == ERR_OK, "A layout that records are swapped by has been checked.");
    auto* at = static_cast<unsigned char*>(record);
    for (; count != 0; --count, at += layout.recordSize) {
        for (const SwapField* field = layout.fields; field != layout.fields + layout.fieldCount; ++field) {
            unsigned char* const place = at + field->offset;
            switch (field->size) {
            case 2:
                SwapEach<std::uint16_t>(place, field->count);
                break;
            case 4:
                SwapEach<std::uint32_t>(place, field->count);
                break;
            case 8:
                SwapEach<std::uint64_t>(place, field->count);
                break;
            case GUID_FIELD:
                for (unsigned i = 0; i < field->count; ++i) {
                    SwapGuid(place + i * GUID_FIELD);
                }
                break;
            case 0:
                Record(place, *field->nested, field->count);
                break;
            default:
                break;
            }
        }
    }
}

void StructureSwap::Record(void* to, const void* from, const SwapLayout& layout, std::size_t count) {
    if (count != 0) {
        std::memcpy(to, from, count * layout.recordSize);
    }
    Record(to, layout, count);
}

} // namespace Z4
