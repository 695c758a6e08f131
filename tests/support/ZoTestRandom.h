// A seeded source of random test inputs: numbers, vectors and turns.
#ifndef ZOACTOR_TESTS_SUPPORT_ZOTESTRANDOM_H
#define ZOACTOR_TESTS_SUPPORT_ZOTESTRANDOM_H

#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoVector3.h>

#include <cstdint>
#include <random>

namespace zotest {

class Random {
 public:
  explicit Random(unsigned seed) : engine(seed) {}
  float Uniform(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(engine); }
  uint32_t Below(uint32_t n) { return std::uniform_int_distribution<uint32_t>(0, n - 1)(engine); }
  ZoVector3 Vector(float range) { return {Uniform(-range, range), Uniform(-range, range), Uniform(-range, range)}; }
  // A turn of up to `maxAngle` radians about a random axis.
  ZoRotation3 Turn(float maxAngle) {
    ZoVector3 axis = Vector(1.0f);
    if (axis.lengthSquared() < 1e-4f) axis = {0, 0, 1};
    ZoRotation3 q;
    q.setValue(Uniform(-maxAngle, maxAngle), axis.unit());
    return q;
  }

 private:
  std::mt19937 engine;
};

}  // namespace zotest

#endif
