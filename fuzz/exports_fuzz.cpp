// The exports of an image in memory, whose every byte may be wrong. No byte outside is read, and a function that is
// found has a name, begins before the place in question, in the same section of code, and is found again by its name.
#include "body.h"
#include "hostmemory.h"

#include <cstring>
#include <zelk_core/services/dbghelp/private/imageview.h>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Z4::Private::ImageView;
    const ImageView image(data, static_cast<std::uint32_t>(size));
    std::size_t length = std::strlen(image.GetName());
    for (std::uint32_t rva = 0; rva < size + 16; rva += 7) {
        const char* name = nullptr;
        std::uint32_t start = 0;
        if (!image.FindExport(rva, name, start)) {
            continue;
        }
        ImageView::Section section;
        Require(start != 0 && start <= rva && image.FindCode(rva, section) && start >= section.rva);
        length += std::strlen(name);
        std::uint32_t place = 0;
        // Several can have the name, and the first of them no code.
        if (image.FindExportByName(name, place)) {
            Require(image.FindCode(place, section));
        }
    }
    Require(length < 0x7FFFFFFF);
    return 0;
}
