#include "recorder/relocation_slots.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

// Loaded objects are described by numbers that say where things are.
// NOLINTBEGIN(performance-no-int-to-ptr)
namespace recorder {

namespace {

#if defined(__x86_64__)
constexpr unsigned long slotTypes[] = {R_X86_64_JUMP_SLOT, R_X86_64_GLOB_DAT};
#elif defined(__i386__)
constexpr unsigned long slotTypes[] = {R_386_JMP_SLOT, R_386_GLOB_DAT};
#elif defined(__aarch64__)
constexpr unsigned long slotTypes[] = {R_AARCH64_JUMP_SLOT, R_AARCH64_GLOB_DAT};
#elif defined(__arm__)
constexpr unsigned long slotTypes[] = {R_ARM_JUMP_SLOT, R_ARM_GLOB_DAT};
#elif defined(__mips__) && !defined(__mips64)
#define VESTA_SLOTS_FOLLOW_SYMBOLS
// The first are slots of objects that are too large for one table.
constexpr unsigned long slotTypes[] = {R_MIPS_REL32, R_MIPS_JUMP_SLOT, R_MIPS_GLOB_DAT};
#else
#define VESTA_UNKNOWN_SLOTS
constexpr unsigned long slotTypes[] = {~0ul};
#endif

#if UINTPTR_MAX > 0xFFFFFFFFu
constexpr bool is64Bit = true;
#else
constexpr bool is64Bit = false;
#endif

bool isSlot(uintptr_t info)
{
    const uintptr_t type = is64Bit ? info & 0xFFFFFFFFu : info & 0xFFu;
    return std::find(std::begin(slotTypes), std::end(slotTypes), type) != std::end(slotTypes);
}

size_t symbolOf(uintptr_t info)
{
    return is64Bit ? static_cast<uint64_t>(info) >> 32 : info >> 8;
}

/// The object's headers, and how far from where they say it was loaded.
struct Object {
    uintptr_t address = 0;  // that is looked for
    uintptr_t base = 0;
    const ElfW(Dyn) * dynamic = nullptr;
    uintptr_t readOnlyBegin = 0;  // after relocation; whole pages
    uintptr_t readOnlyEnd = 0;
};

bool holds(const dl_phdr_info& info, uintptr_t address)
{
    for (size_t place = 0; place < info.dlpi_phnum; ++place) {
        const ElfW(Phdr)& header = info.dlpi_phdr[place];
        const uintptr_t begin = info.dlpi_addr + header.p_vaddr;
        if (header.p_type == PT_LOAD && address >= begin && address - begin < header.p_memsz)
            return true;
    }
    return false;
}

int readHeaders(dl_phdr_info* info, size_t, void* data)
{
    Object& object = *static_cast<Object*>(data);
    if (!holds(*info, object.address))
        return 0;
    const uintptr_t pageMask = ~(static_cast<uintptr_t>(sysconf(_SC_PAGESIZE)) - 1);
    object.base = info->dlpi_addr;
    for (size_t place = 0; place < info->dlpi_phnum; ++place) {
        const ElfW(Phdr)& header = info->dlpi_phdr[place];
        const uintptr_t begin = info->dlpi_addr + header.p_vaddr;
        if (header.p_type == PT_DYNAMIC)
            object.dynamic = reinterpret_cast<const ElfW(Dyn)*>(begin);
        if (header.p_type == PT_GNU_RELRO) {
            object.readOnlyBegin = begin & pageMask;
            object.readOnlyEnd = (begin + header.p_memsz) & pageMask;
        }
    }
    return 1;
}

#ifdef VESTA_SLOTS_FOLLOW_SYMBOLS
/// Slots that no relocation names, on processors where the last symbols have one each, in their
/// order (System V ABI, MIPS supplement, 5: Global Offset Table).
struct SlotTable {
    uintptr_t slots = 0;
    size_t firstSlot = 0;  // that is a symbol's
    size_t firstSymbol = 0;
    size_t endSymbol = 0;
};
#endif

class Slots {
public:
    Slots(const Object& object, const std::vector<Replacement>& replacements)
        : object_(object), replacements_(replacements)
    {
        for (const ElfW(Dyn)* entry = object.dynamic; entry->d_tag != DT_NULL; ++entry)
            read(*entry);
    }

    bool replaceAll() const
    {
        if (!symbols_ || !names_)
            return false;
        if (!protectSlots(PROT_READ | PROT_WRITE))
            return false;
        replaceIn<ElfW(Rela)>(rela_, relaBytes_);
        replaceIn<ElfW(Rel)>(rel_, relBytes_);
        if (pltHasAddends_)
            replaceIn<ElfW(Rela)>(plt_, pltBytes_);
        else
            replaceIn<ElfW(Rel)>(plt_, pltBytes_);
        replaceInTable();
        return protectSlots(PROT_READ);
    }

private:
    void read(const ElfW(Dyn) & entry)
    {
        switch (entry.d_tag) {
        case DT_SYMTAB:
            symbols_ = reinterpret_cast<const ElfW(Sym)*>(addressOf(entry));
            break;
        case DT_STRTAB:
            names_ = reinterpret_cast<const char*>(addressOf(entry));
            break;
        case DT_RELA:
            rela_ = addressOf(entry);
            break;
        case DT_RELASZ:
            relaBytes_ = entry.d_un.d_val;
            break;
        case DT_REL:
            rel_ = addressOf(entry);
            break;
        case DT_RELSZ:
            relBytes_ = entry.d_un.d_val;
            break;
        case DT_JMPREL:
            plt_ = addressOf(entry);
            break;
        case DT_PLTRELSZ:
            pltBytes_ = entry.d_un.d_val;
            break;
        case DT_PLTREL:
            pltHasAddends_ = entry.d_un.d_val == DT_RELA;
            break;
        default:
            readTable(entry);
            break;
        }
    }

#ifdef VESTA_SLOTS_FOLLOW_SYMBOLS
    void readTable(const ElfW(Dyn) & entry)
    {
        switch (entry.d_tag) {
        case DT_PLTGOT:
            table_.slots = addressOf(entry);
            break;
        case DT_MIPS_LOCAL_GOTNO:
            table_.firstSlot = entry.d_un.d_val;
            break;
        case DT_MIPS_GOTSYM:
            table_.firstSymbol = entry.d_un.d_val;
            break;
        case DT_MIPS_SYMTABNO:
            table_.endSymbol = entry.d_un.d_val;
            break;
        default:
            break;
        }
    }

    void replaceInTable() const
    {
        for (size_t symbol = table_.firstSymbol; symbol < table_.endSymbol; ++symbol) {
            const size_t slot = table_.firstSlot + (symbol - table_.firstSymbol);
            replace(table_.slots + slot * sizeof(void*), names_ + symbols_[symbol].st_name);
        }
    }
#else
    static void readTable(const ElfW(Dyn) &)
    {
    }
    static void replaceInTable()
    {
    }
#endif

    /// Some dynamic linkers leave the entries as they are in the file.
    uintptr_t addressOf(const ElfW(Dyn) & entry) const
    {
        const uintptr_t address = entry.d_un.d_ptr;
        return address < object_.base ? object_.base + address : address;
    }

    template <typename Relocation>
    void replaceIn(uintptr_t table, size_t bytes) const
    {
        const auto* const relocations = reinterpret_cast<const Relocation*>(table);
        for (size_t place = 0; place < bytes / sizeof(Relocation); ++place) {
            const Relocation& relocation = relocations[place];
            if (isSlot(relocation.r_info))
                replace(object_.base + relocation.r_offset,
                        names_ + symbols_[symbolOf(relocation.r_info)].st_name);
        }
    }

    void replace(uintptr_t slot, const char* name) const
    {
        for (const Replacement& each : replacements_) {
            if (std::strcmp(each.name, name) == 0)
                __atomic_store_n(reinterpret_cast<void**>(slot), each.function, __ATOMIC_RELEASE);
        }
    }

    bool protectSlots(int protection) const
    {
        const size_t length = object_.readOnlyEnd - object_.readOnlyBegin;
        return length == 0 ||
               mprotect(reinterpret_cast<void*>(object_.readOnlyBegin), length, protection) == 0;
    }

    const Object& object_;
    const std::vector<Replacement>& replacements_;
    const ElfW(Sym) * symbols_ = nullptr;
    const char* names_ = nullptr;
    uintptr_t rela_ = 0;
    size_t relaBytes_ = 0;
    uintptr_t rel_ = 0;
    size_t relBytes_ = 0;
    uintptr_t plt_ = 0;
    size_t pltBytes_ = 0;
    bool pltHasAddends_ = false;
#ifdef VESTA_SLOTS_FOLLOW_SYMBOLS
    SlotTable table_;
#endif
};

}  // namespace

bool replaceInSlots(const void* inside, const std::vector<Replacement>& replacements)
{
#ifdef VESTA_UNKNOWN_SLOTS
    return false;
#endif
    Object object;
    object.address = reinterpret_cast<uintptr_t>(inside);
    return dl_iterate_phdr(readHeaders, &object) != 0 && object.dynamic &&
           Slots(object, replacements).replaceAll();
}

}  // namespace recorder
// NOLINTEND(performance-no-int-to-ptr)
