// Runs a piece of code in the C locale on the calling thread only, so that
// formatting and parsing never depend on the host application's locale.
#ifndef ZOACTOR_SRC_FOUNDATION_ZOCLOCALE_H
#define ZOACTOR_SRC_FOUNDATION_ZOCLOCALE_H

#include <clocale>
#include <locale.h>

class ZoCLocaleScope {
 public:
  ZoCLocaleScope() {
    static locale_t const cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    previous = cLocale != static_cast<locale_t>(nullptr) ? uselocale(cLocale) : static_cast<locale_t>(nullptr);
  }
  ~ZoCLocaleScope() {
    if (previous != static_cast<locale_t>(nullptr)) uselocale(previous);
  }
  ZoCLocaleScope(ZoCLocaleScope const&) = delete;
  ZoCLocaleScope& operator=(ZoCLocaleScope const&) = delete;

 private:
  locale_t previous;
};

#endif
