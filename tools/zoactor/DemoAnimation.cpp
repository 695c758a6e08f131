// Demonstrates the motion core: a small arm of three joints keyed over one
// second (a step, a linear and a smooth track), sampled like an engine does
// every frame; then a spline subdivided, measured and walked by distance.
#include "Demo.h"

#include <zoactor/zoactor.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

ZoRotation3 AboutZ(float degrees) {
  ZoRotation3 q;
  q.setValue(degrees * ZoMath::PI / 180.0f, ZoVector3(0, 0, 1));
  return q;
}

float DegreesAboutZ(ZoRotation3 const& q) { return 2.0f * std::atan2(q.z, q.w) * 180.0f / ZoMath::PI; }

ZoJointKeyframe* Key(uint32_t time, ZoVector3 position, float degrees) {
  auto* kf = new ZoJointKeyframe;
  kf->setTime(time);
  kf->actorTransform = ZoTransform3(position, AboutZ(degrees));
  kf->localTransform = kf->actorTransform;
  return kf;
}

void Print(std::FILE* out, char const* label, ZoTransform3 const& x) {
  std::fprintf(out, "  %-9s (%6.3f, %6.3f, %6.3f) turned %7.2f deg\n", label, static_cast<double>(x.translation.x),
               static_cast<double>(x.translation.y), static_cast<double>(x.translation.z),
               static_cast<double>(DegreesAboutZ(x.rotation)));
}

bool DemoAnimation(std::FILE* out) {
  bool ok = true;

  // Shoulder: linear keys. Elbow: smooth keys. Wrist: a step key.
  std::vector<std::unique_ptr<ZoJointKeyList>> joints;
  joints.push_back(std::make_unique<ZoJointKeyList>());
  joints[0]->Insert(Key(0, {0, 0, 0}, 0), 1);
  joints[0]->Insert(Key(500, {0, 1, 0}, 45), 1);
  joints[0]->Insert(Key(1000, {0, 0, 0}, 0), 1);

  joints.push_back(std::make_unique<ZoJointKeyList>());
  std::vector<ZoJointKeyframe*> elbow = {Key(0, {1, 0, 0}, 0), Key(400, {1, 1, 0}, 60), Key(1000, {2, 1, 0}, 90)};
  for (ZoJointKeyframe* kf : elbow) joints[1]->Insert(kf, 0);
  for (size_t i = 0; i < elbow.size(); ++i)
    elbow[i]->ComputeBlends(i > 0 ? elbow[i - 1] : nullptr, i + 1 < elbow.size() ? elbow[i + 1] : nullptr, 1);

  joints.push_back(std::make_unique<ZoJointKeyList>());
  ZoJointKeyframe* wrist = Key(0, {2, 0, 0}, -30);
  wrist->blendMode = ZoJointKeyframe::Step;
  joints[2]->Insert(wrist, 0);
  joints[2]->Insert(Key(600, {2, 0, 0}, 30), 0);

  char const* names[] = {"shoulder", "elbow", "wrist"};
  ZoJointKeyframe pose;
  for (uint32_t time : {0u, 250u, 600u, 1200u}) {
    std::fprintf(out, "pose at %u ms:\n", time);
    for (size_t j = 0; j < joints.size(); ++j) {
      if (joints[j]->SampleAtTime(time, pose, 1) == 1) {
        Print(out, names[j], pose.actorTransform);
      } else {
        std::fprintf(out, "  %-9s (no sample)\n", names[j]);
        ok = false;
      }
    }
  }
  joints[0]->SampleAtTime(250, pose, 0);
  ok = ok && std::fabs(DegreesAboutZ(pose.actorTransform.rotation) - 22.5f) < 1e-3f;
  joints[2]->SampleAtTime(599, pose, 0);
  ok = ok && std::fabs(DegreesAboutZ(pose.actorTransform.rotation) + 30.0f) < 1e-3f;  // the step holds
  ok = ok && joints[0]->SampleAtTime(1200, pose, 0) == 0;

  // A spline: a straight run, subdivided and bent at its middle point.
  ZoSpline spline;
  spline.SetLinear(ZoTransform3({0, 0, 0}, ZoRotation3()), ZoTransform3({10, 0, 0}, AboutZ(90)), 2000);
  ZoSplineControlPoint* middle = spline.InsertControlPoint(1000);
  ok = ok && middle != nullptr;
  if (middle != nullptr) {
    ZoVector3 lift(0, 3, 0);
    middle->transform.translation += lift;
    middle->inControl.translation += lift;
    middle->outControl.translation += lift;
  }
  spline.Integrate();
  std::fprintf(out, "spline of %d points over %u ms, arc length %.3f\n", spline.NumControlPoints(),
               spline.LengthInTime(), static_cast<double>(spline.Length()));
  ZoTransform3 at;
  for (float fraction : {0.0f, 0.25f, 0.5f, 0.999f}) {
    if (spline.InterpolateAtDistance(fraction * spline.Length(), at) == 1) {
      char label[32];
      std::snprintf(label, sizeof label, "%5.1f%% way", static_cast<double>(fraction * 100.0f));
      Print(out, label, at);
    } else {
      ok = false;
    }
  }
  uint32_t closest = spline.ClosestApproach(ZoVector3(5, 5, 0), 0.0f);
  std::fprintf(out, "closest to (5, 5, 0) at %u ms\n", closest);
  ok = ok && spline.Length() > 10.0f && closest > 800 && closest < 1200;
  return ok;
}

}  // namespace

ZO_DEMO_SECTION(50, "animation", DemoAnimation);
