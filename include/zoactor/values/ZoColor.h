// ZoColor: a colour of four float components r, g, b, a (default 0, 0, 0,
// 1), a typed value that compares as unequal to everything and converts to
// nothing. Body: r, g, b, a (16 bytes); declares 16.
#ifndef ZOACTOR_VALUES_ZOCOLOR_H
#define ZOACTOR_VALUES_ZOCOLOR_H

#include <zoactor/ZoExport.h>
#include <zoactor/values/ZoTypedValue.h>

class ZOACTOR_API ZoColor : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Color;

  float r;
  float g;
  float b;
  float a;

  ZoColor() : r(0.0f), g(0.0f), b(0.0f), a(1.0f) {}
  ZoColor(float red, float green, float blue, float alpha) : r(red), g(green), b(blue), a(alpha) {}
  ZoColor(ZoColor const& other) = default;
  // Copies the components (the modification callback stays this colour's).
  ZoColor& operator=(ZoColor const& other);

  void Set(float red, float green, float blue, float alpha);
  // Multiplies each component by the matching factor.
  void Scale(float red, float green, float blue, float alpha);

  // All four components equal, each tested as neither less nor greater (so
  // a NaN component equals any value).
  bool operator==(ZoColor const& other) const;
  bool operator!=(ZoColor const& other) const { return !(*this == other); }

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Reads the four floats; stops at the first that fails.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  int32_t StreamSize() const override { return 16; }
  ZoTypedValue* Copy() const override;

  static ZoStreamObject* Create();
};

#endif
