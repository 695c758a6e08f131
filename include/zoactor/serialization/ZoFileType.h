// ZoFileType: the four-character tag of a chunked container file and of the
// objects in it. Made from a string, its characters stand in the file in
// their order (the first in the lowest byte); short strings are padded with
// spaces. The empty type is four spaces.
#ifndef ZOACTOR_SERIALIZATION_ZOFILETYPE_H
#define ZOACTOR_SERIALIZATION_ZOFILETYPE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

#include <cstdint>

class ZOACTOR_API ZoFileType {
 public:
  // Four spaces.
  static constexpr int32_t kEmpty = 0x20202020;

  constexpr ZoFileType() : value(kEmpty) {}
  constexpr explicit ZoFileType(int32_t tag) : value(tag) {}
  // The first four characters of `text`, padded with spaces.
  explicit ZoFileType(ZoString const& text);
  explicit ZoFileType(char const* text);

  constexpr operator int32_t() const { return value; }  // NOLINT: converts like the tag it is
  constexpr bool operator==(ZoFileType const& other) const { return value == other.value; }
  constexpr bool operator!=(ZoFileType const& other) const { return value != other.value; }

 private:
  int32_t value;
};

#endif
