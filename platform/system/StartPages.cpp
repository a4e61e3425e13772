#include "StartPages.h"

#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {
namespace {

using Headers = std::span<const ElfW(Phdr)>;

// Whether the loader has written into segments that cannot be written any more, as in libraries with code
// that is not position-independent: their pages differ from the file.
bool hasWrittenText(const dl_phdr_info& object, Headers headers) {
  return std::any_of(headers.begin(), headers.end(), [&object](const ElfW(Phdr) & header) {
    if (header.p_type != PT_DYNAMIC) return false;
    const auto* entry = reinterpret_cast<const ElfW(Dyn)*>(object.dlpi_addr + header.p_vaddr);
    while (entry->d_tag != DT_NULL && entry->d_tag != DT_TEXTREL) ++entry;
    return entry->d_tag == DT_TEXTREL;
  });
}

void forget(const dl_phdr_info& object, const ElfW(Phdr) & segment, std::uintptr_t pageSize) {
  const std::uintptr_t begin = (object.dlpi_addr + segment.p_vaddr) / pageSize * pageSize;
  const std::uintptr_t end = object.dlpi_addr + segment.p_vaddr + segment.p_memsz;
  madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
}

int forgetObject(dl_phdr_info* object, std::size_t /*size*/, void* pageSize) {
  const Headers headers(object->dlpi_phdr, object->dlpi_phnum);
  if (hasWrittenText(*object, headers)) return 0;
  for (const ElfW(Phdr) & header : headers) {
    const bool fixed = header.p_type == PT_LOAD && (header.p_flags & PF_W) == 0;
    if (fixed) forget(*object, header, *static_cast<const std::uintptr_t*>(pageSize));
  }
  return 0;
}

}  // namespace

void forgetStartPages() noexcept {
  auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  dl_iterate_phdr(forgetObject, &pageSize);
}

}  // namespace platform
