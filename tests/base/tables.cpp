// Prints what the library answers to each number or name that it knows, which tests/pinned/tables.txt holds. A wrong, a
// missing and a needless entry of a table show, each as one line.
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <zelk_core/base/error.h>
#include <zelk_core/base/private/processor.h>
#include <zelk_core/eal_utils/ealfile.h>

using namespace Z4;

namespace {

void ErrorTexts() {
    for (int code = -1; code <= ERR_CORRUPTED_DATA + 1; ++code) {
        std::printf("error %d: %s\n", code, GetErrorString(static_cast<Error>(code)));
    }
}

// Numbers that are not listed are ERR_UNHANDLED.
void Translations() {
    for (int number = -70000; number <= 70000; ++number) {
        if (const Error error = Private::TranslateSocketError(number); error != ERR_UNHANDLED) {
            std::printf("socket error %d: %d\n", number, error);
        }
    }
    for (int status = -1000; status <= 1000; ++status) {
        if (const Error error = EalFile::TranslateError(static_cast<eal_file_status>(status)); error != ERR_UNHANDLED) {
            std::printf("file status %d: %d\n", status, error);
        }
    }
}

Private::CpuidRegisters g_vendor;
Private::CpuidRegisters g_signature;
Private::CpuidRegisters g_descriptors;

Private::CpuidRegisters Answer(std::uint32_t leaf, std::uint32_t) {
    return leaf == 0 ? g_vendor : leaf == 1 ? g_signature : leaf == 2 ? g_descriptors : Private::CpuidRegisters{};
}

void SetVendor(const char* text) {
    std::memcpy(&g_vendor.ebx, text, 4);
    std::memcpy(&g_vendor.edx, text + 4, 4);
    std::memcpy(&g_vendor.ecx, text + 8, 4);
}

void Vendors() {
    for (const char* const text : {"GenuineIntel", "UMC UMC UMC ", "AuthenticAMD", "AMD ISBETTER", "CyrixInstead",
                                   "NexGenDriven", "CentaurHauls", "RiseRiseRise", "GenuineTMx86", "TransmetaCPU",
                                   "Geode By NSC", "genuineintel", "            "}) {
        SetVendor(text);
        std::printf("vendor %s: %u\n", text, static_cast<unsigned>(Private::IdentifyProcessor(Answer).vendor));
    }
}

/// What a descriptor byte says about the caches of the processor with this signature; nothing where it says nothing. A
/// size of -1 is unknown.
void CacheDescriptor(const char* processor, std::uint32_t signature, unsigned value) {
    SetVendor("GenuineIntel");
    g_signature.eax = signature;
    g_descriptors.edx = value << 8; // not at either end: the lowest byte can be a count, the highest bit a mark
    Private::CacheSizes sizes;
    if (Private::ReadCachesClassical(Answer, sizes)) {
        std::printf("cache descriptor %02X%s: %d, %d, %d KiB\n", value, processor, static_cast<int>(sizes.l1) >> 10,
                    static_cast<int>(sizes.l2) >> 10, static_cast<int>(sizes.l3) >> 10);
    }
}

void CacheDescriptors() {
    for (unsigned value = 0; value < 256; ++value) {
        CacheDescriptor("", 0x00000652, value);
    }
    CacheDescriptor(" of the Xeon MP", 0x00000F68, 0x49);
    CacheDescriptor(" of a Pentium 4", 0x00000F28, 0x49);
}

} // namespace

int main() {
    ErrorTexts();
    Translations();
    Vendors();
    CacheDescriptors();
    return 0;
}
