#include "DoubleText.h"

#include <locale.h>
#include <stdlib.h>

#include <new>

namespace {

locale_t makePlainLocale() {
  locale_t const made = newlocale(LC_ALL_MASK, "C", nullptr);
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

}  // namespace

double readDouble(const char* text) {
  // Never freed: a parser that runs while the process exits still needs it.
  static const locale_t plain = makePlainLocale();
  return strtod_l(text, nullptr, plain);
}
