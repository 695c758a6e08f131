#include <zoactor/values/ZoColor.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include <initializer_list>
#include <new>

namespace {

// Neither less nor greater: a NaN on either side counts as equal.
bool SameComponent(float x, float y) { return !(x < y) && !(x > y); }

}  // namespace

ZoColor& ZoColor::operator=(ZoColor const& other) {
  Set(other.r, other.g, other.b, other.a);
  return *this;
}

void ZoColor::Set(float red, float green, float blue, float alpha) {
  r = red;
  g = green;
  b = blue;
  a = alpha;
}

void ZoColor::Scale(float red, float green, float blue, float alpha) {
  r *= red;
  g *= green;
  b *= blue;
  a *= alpha;
}

bool ZoColor::operator==(ZoColor const& other) const {
  return SameComponent(r, other.r) && SameComponent(g, other.g) && SameComponent(b, other.b) &&
         SameComponent(a, other.a);
}

ZoStreamError ZoColor::ReadFromStream(ZoStream& stream) {
  for (float* component : {&r, &g, &b, &a})
    if ((stream >> *component).Status() != ZoStreamOk) break;
  return stream.Status();
}

ZoStreamError ZoColor::WriteToStream(ZoStream& stream) const { return (stream << r << g << b << a).Status(); }

ZoTypedValue* ZoColor::Copy() const { return new (std::nothrow) ZoColor(r, g, b, a); }

ZoStreamObject* ZoColor::Create() { return new (std::nothrow) ZoColor; }

static ZoStreamConstructorEntry const kRegisterColor(ZoTypeCode::Color, &ZoColor::Create);
