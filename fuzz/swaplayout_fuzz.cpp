// Layouts that nobody vouches for: what Check() passes swaps within its records only, and twice is as before.
#include "body.h"

#include <cstdlib>
#include <cstring>
#include <vector>
#include <zelk_core/base/structureswap.h>

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Four layouts of three fields each, of 4 bytes: offset, count, size of the elements, layout that is nested.
    constexpr std::size_t LAYOUTS = 4;
    constexpr std::size_t FIELDS = 3;
    if (size < LAYOUTS * (1 + 4 * FIELDS)) {
        return 0;
    }
    Z4::SwapLayout layouts[LAYOUTS];
    Z4::SwapField fields[LAYOUTS][FIELDS];
    for (std::size_t i = 0; i < LAYOUTS; ++i) {
        layouts[i] = {fields[i], FIELDS, *data++};
        for (Z4::SwapField& field : fields[i]) {
            field = {data[0], data[1], data[2], data[2] == 0 ? &layouts[data[3] % LAYOUTS] : nullptr};
            data += 4;
        }
    }
    for (const Z4::SwapLayout& layout : layouts) {
        if (Z4::StructureSwap::Check(layout) == Z4::ERR_OK) {
            std::vector<unsigned char> records(3 * layout.recordSize, 0);
            for (std::size_t i = 0; i < records.size(); ++i) {
                records[i] = static_cast<unsigned char>(i * 7);
            }
            const std::vector<unsigned char> before = records;
            Z4::StructureSwap::Record(records.data(), layout, 3);
            Z4::StructureSwap::Record(records.data(), layout, 3);
            Require(records == before);
        }
    }
    return 0;
}
