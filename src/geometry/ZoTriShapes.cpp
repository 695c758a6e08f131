// The primitive shapes: each constructor creates its set, copies the
// material in as material 0 and fills vertices, normals, texture pairs and
// triangles.
#include <zoactor/geometry/ZoTriShapes.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr float kTwoPi = 6.2831855f;
constexpr float kPi = 3.1415927f;

enum class Kind { Solid, Square, Polyline };

// The material's texture count, within the four slots a material has.
int TextureCount(ZoMaterial const& material) {
  int count = material.numTextures;
  if (count < 0) return 0;
  return count > ZoMaterial::MAX_TEXTURES ? ZoMaterial::MAX_TEXTURES : count;
}

// The segment count: −1 selects the default, then the clamp applies.
int Segments(int requested, int byDefault, int least, int most) {
  int s = requested == -1 ? byDefault : requested;
  if (s < least) s = least;
  if (most > 0 && s > most) s = most;
  return s;
}

// Creates the set with the flags of its kind and installs the material.
// False (the set left empty) when the counts do not fit or memory runs out.
bool Begin(ZoTriangleSet& set, ZoMaterial const& material, Kind kind, int64_t triangles, int64_t vertices) {
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  int textures = TextureCount(material);
  int flags = 0;
  int perVertex = textures;
  ZoTriangleSetType type = ZoTriSetIndexed;
  switch (kind) {
    case Kind::Solid:
      flags = textures == 0 ? (ZoTriSetNormals | ZoTriSetMaterialIndices)
                            : (ZoTriSetNormals | ZoTriSetTextures | ZoTriSetMaterialIndices);
      break;
    case Kind::Square:
      flags = ZoTriSetNormals | ZoTriSetTextures | ZoTriSetMaterialIndices;
      perVertex = 1;
      break;
    case Kind::Polyline:
      flags = textures == 0 ? ZoTriSetMaterialIndices : (ZoTriSetTextures | ZoTriSetMaterialIndices);
      type = ZoTriSetPolyline;
      break;
  }
  if (triangles > kMax || vertices > kMax || vertices * perVertex > kMax) return false;
  if (!set.Create(type, flags, static_cast<int>(triangles), static_cast<int>(vertices), perVertex)) return false;
  if (!set.SetNumMaterials(1)) {
    set.Create(ZoTriSetUndefined, 0, 0, 0, 0);
    return false;
  }
  set.Material(0) = material;
  return true;
}

// Gives vertex v the pair (u, v) in every texture layer.
void SetTexture(ZoTriangleSet& set, int vertex, float u, float v) {
  for (int j = 0; j < set.GetNumTexturesPerVertex(); ++j) set.TextureVertex(vertex, j).Set(u, v);
}

float Angle(int k, int s) { return static_cast<float>(k) * kTwoPi / static_cast<float>(s); }

}  // namespace

ZoTriSquare::ZoTriSquare(ZoMaterial const& material, float width, float height) {
  if (!Begin(*this, material, Kind::Square, 2, 4)) return;
  float w = width / 2.0f, h = height / 2.0f;
  Vertex(0) = ZoVector3(-w, -h, 0.0f);
  Vertex(1) = ZoVector3(w, -h, 0.0f);
  Vertex(2) = ZoVector3(w, h, 0.0f);
  Vertex(3) = ZoVector3(-w, h, 0.0f);
  float const uv[4][2] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
  for (int v = 0; v < 4; ++v) {
    Normal(v) = ZoVector3(0.0f, 0.0f, 1.0f);
    SetTexture(*this, v, uv[v][0], uv[v][1]);
  }
  Triangle(0).Set(0, 1, 2);
  Triangle(1).Set(3, 0, 2);
}

ZoTriCube::ZoTriCube(ZoMaterial const& material, ZoVector3 const& size) {
  if (!Begin(*this, material, Kind::Solid, 12, 8)) return;
  float hx = size.x / 2.0f, hy = size.y / 2.0f, hz = size.z / 2.0f;
  ZoVector3 const corners[8] = {{-hx, -hy, hz},  {hx, -hy, hz},  {hx, hy, hz},  {-hx, hy, hz},
                                {-hx, -hy, -hz}, {hx, -hy, -hz}, {hx, hy, -hz}, {-hx, hy, -hz}};
  ZoVector3 const faceNormals[8] = {{1, 0, 0},  {1, 0, 0}, {0, 0, 1},  {-1, 0, 0},
                                {0, -1, 0}, {0, 0, -1}, {0, 1, 0}, {1, 0, 0}};
  float const uv[8][2] = {{1, 0}, {0, 0}, {0, 1}, {0, 0}, {1, 1}, {0, 1}, {1, 1}, {1, 0}};
  for (int v = 0; v < 8; ++v) {
    Vertex(v) = corners[v];
    Normal(v) = faceNormals[v];
    SetTexture(*this, v, uv[v][0], uv[v][1]);
  }
  int const corners12[12][3] = {{0, 1, 2}, {3, 0, 2}, {5, 6, 1}, {6, 2, 1}, {4, 7, 5}, {7, 6, 5},
                                {4, 0, 3}, {7, 4, 3}, {3, 2, 6}, {7, 3, 6}, {5, 1, 4}, {1, 0, 4}};
  for (int i = 0; i < 12; ++i) Triangle(i).Set(corners12[i][0], corners12[i][1], corners12[i][2]);
}

ZoTriSphere::ZoTriSphere(ZoMaterial const& material, float radius, int segments) {
  int s = Segments(segments, 12, 4, 100);
  int r = s / 2;
  int north = (r - 1) * s + 1;
  if (!Begin(*this, material, Kind::Solid, int64_t{2} * (r - 1) * s, int64_t{north} + 1)) return;
  Normal(0) = ZoVector3(0.0f, -1.0f, 0.0f);
  Normal(north) = ZoVector3(0.0f, 1.0f, 0.0f);
  SetTexture(*this, 0, 0.5f, 1.0f);
  SetTexture(*this, north, 0.5f, 0.0f);
  for (int j = 1; j < r; ++j) {
    float phi = static_cast<float>(j) * kPi / static_cast<float>(r);
    float sinPhi = std::sin(phi), cosPhi = std::cos(phi);
    int base = 1 + (j - 1) * s;
    for (int k = 0; k < s; ++k) {
      float theta = Angle(k, s);
      Normal(base + k) = ZoVector3(-sinPhi * std::cos(theta), -cosPhi, -sinPhi * std::sin(theta));
      SetTexture(*this, base + k, static_cast<float>(k) / static_cast<float>(s),
                 1.0f - static_cast<float>(j) / static_cast<float>(r));
    }
  }
  for (int v = 0; v <= north; ++v) Vertex(v) = Normal(v) * radius;
  int t = 0;
  for (int k = 0; k < s; ++k) Triangle(t++).Set(0, k + 1, (k + 1) % s + 1);
  for (int j = 1; j <= r - 2; ++j) {
    int b = 1 + (j - 1) * s;
    for (int k = 0; k < s; ++k) {
      int m = (k + 1) % s;
      Triangle(t++).Set(b + k, b + s + k, b + s + m);
      Triangle(t++).Set(b + k, b + s + m, b + m);
    }
  }
  for (int k = 0; k < s; ++k) Triangle(t++).Set(north, north - s + (k + 1) % s, north - s + k);
}

ZoTriCone::ZoTriCone(ZoMaterial const& material, float radius, float height, int segments) {
  int s = Segments(segments, 12, 3, 0);
  float h = height < 0.001f ? 0.001f : height;
  if (!Begin(*this, material, Kind::Solid, int64_t{2} * s, int64_t{s} + 2)) return;
  for (int k = 0; k < s; ++k) {
    float theta = Angle(k, s);
    float c = std::cos(theta), d = std::sin(theta);
    Vertex(k) = ZoVector3(radius * c, -h / 2.0f, radius * d);
    Normal(k) = ZoVector3(c, radius / h, d).unit();
    SetTexture(*this, k, static_cast<float>(k) / static_cast<float>(s), 1.0f);
  }
  Vertex(s) = ZoVector3(0.0f, h / 2.0f, 0.0f);
  Normal(s) = ZoVector3(0.0f, 1.0f, 0.0f);
  SetTexture(*this, s, 0.5f, 0.0f);
  Vertex(s + 1) = ZoVector3(0.0f, -h / 2.0f, 0.0f);
  Normal(s + 1) = ZoVector3(0.0f, -1.0f, 0.0f);
  SetTexture(*this, s + 1, 0.5f, 1.0f);
  for (int k = 0; k < s; ++k) {
    int m = (k + 1) % s;
    Triangle(2 * k).Set(k, s, m);
    Triangle(2 * k + 1).Set(k, m, s + 1);
  }
}

ZoTriCylinder::ZoTriCylinder(ZoMaterial const& material, float radius, float height, int segments) {
  int s = Segments(segments, 12, 3, 0);
  if (!Begin(*this, material, Kind::Solid, int64_t{4} * s, int64_t{2} * s + 2)) return;
  float h = height / 2.0f;
  for (int k = 0; k < s; ++k) {
    float theta = Angle(k, s);
    float c = std::cos(theta), d = std::sin(theta);
    float u = static_cast<float>(k) / static_cast<float>(s);
    Vertex(k) = ZoVector3(radius * c, -h, radius * d);
    Vertex(s + k) = ZoVector3(radius * c, h, radius * d);
    Normal(k) = Normal(s + k) = ZoVector3(c, 0.0f, d);
    SetTexture(*this, k, u, 1.0f);
    SetTexture(*this, s + k, u, 0.0f);
  }
  Vertex(2 * s) = ZoVector3(0.0f, -h, 0.0f);
  Normal(2 * s) = ZoVector3(0.0f, -1.0f, 0.0f);
  SetTexture(*this, 2 * s, 0.5f, 1.0f);
  Vertex(2 * s + 1) = ZoVector3(0.0f, h, 0.0f);
  Normal(2 * s + 1) = ZoVector3(0.0f, 1.0f, 0.0f);
  SetTexture(*this, 2 * s + 1, 0.5f, 0.0f);
  for (int k = 0; k < s; ++k) {
    int m = (k + 1) % s;
    Triangle(4 * k).Set(s + k, s + m, k);
    Triangle(4 * k + 1).Set(s + m, m, k);
    Triangle(4 * k + 2).Set(k, m, 2 * s);
    Triangle(4 * k + 3).Set(s + m, s + k, 2 * s + 1);
  }
}

ZoTriRing::ZoTriRing(ZoMaterial const& material, float innerRadius, float outerRadius, float height,
                     int segments) {
  int s = Segments(segments, 12, 3, 0);
  if (!Begin(*this, material, Kind::Solid, int64_t{8} * s, int64_t{4} * s)) return;
  float h = height / 2.0f;
  for (int k = 0; k < s; ++k) {
    float theta = Angle(k, s);
    float c = std::cos(theta), d = std::sin(theta);
    float u = static_cast<float>(k) / static_cast<float>(s);
    int b = 4 * k;
    Vertex(b) = ZoVector3(c * innerRadius, h, d * innerRadius);
    Normal(b) = ZoVector3(0.0f, 1.0f, 0.0f);
    Vertex(b + 1) = ZoVector3(c * innerRadius, -h, d * innerRadius);
    Normal(b + 1) = ZoVector3(-c, 0.0f, -d);
    Vertex(b + 2) = ZoVector3(c * outerRadius, -h, d * outerRadius);
    Normal(b + 2) = ZoVector3(0.0f, -1.0f, 0.0f);
    Vertex(b + 3) = ZoVector3(c * outerRadius, h, d * outerRadius);
    Normal(b + 3) = ZoVector3(c, 0.0f, d);
    SetTexture(*this, b, u, 0.0f);
    SetTexture(*this, b + 1, u, 1.0f);
    SetTexture(*this, b + 2, u, 1.0f);
    SetTexture(*this, b + 3, u, 0.0f);
  }
  for (int k = 0; k < s; ++k) {
    int b = 4 * k;
    int n = (4 * k + 4) % (4 * s);
    int t = 8 * k;
    Triangle(t).Set(n, n + 3, b);  // top
    Triangle(t + 1).Set(n + 3, b + 3, b);
    Triangle(t + 2).Set(n, b, b + 1);  // inner wall
    Triangle(t + 3).Set(n + 1, n, b + 1);
    Triangle(t + 4).Set(n + 1, b + 1, b + 2);  // bottom
    Triangle(t + 5).Set(n + 2, n + 1, b + 2);
    Triangle(t + 6).Set(n + 3, n + 2, b + 3);  // outer wall
    Triangle(t + 7).Set(n + 2, b + 2, b + 3);
  }
}

ZoTriLine::ZoTriLine(ZoMaterial const& material, ZoVector3 const& from, ZoVector3 const& to) {
  if (!Begin(*this, material, Kind::Polyline, 0, 2)) return;
  SetTexture(*this, 0, 0.0f, 0.0f);
  SetTexture(*this, 1, 1.0f, 0.0f);
  Update(from, to);
}

void ZoTriLine::Update(ZoVector3 const& from, ZoVector3 const& to) {
  if (GetNumVertices() < 2) return;
  Vertex(0) = from;
  Vertex(1) = to;
}

ZoTriBezier::ZoTriBezier(ZoMaterial const& material, ZoVector3 const* points, int segments) {
  int n = Segments(segments, 10, 1, 0);
  if (!Begin(*this, material, Kind::Polyline, 0, int64_t{n} + 1)) return;
  for (int i = 0; i <= n; ++i) SetTexture(*this, i, static_cast<float>(i) / static_cast<float>(n), 0.0f);
  Update(points);
}

void ZoTriBezier::Update(ZoVector3 const* points) {
  int count = GetNumVertices();
  if (points == nullptr || count < 2) return;
  float n = static_cast<float>(count - 1);
  for (int i = 0; i < count; ++i)
    Vertex(i).interpolate(points[0], points[1], points[2], points[3], static_cast<float>(i) / n);
}

ZoTriCircle::ZoTriCircle(ZoMaterial const& material, float radius, int segments) {
  int s = Segments(segments, 12, 3, 0);
  if (!Begin(*this, material, Kind::Polyline, 0, int64_t{s} + 1)) return;
  for (int k = 0; k < s; ++k) {
    float theta = Angle(k, s);
    Vertex(k) = ZoVector3(radius * std::cos(theta), 0.0f, radius * std::sin(theta));
    SetTexture(*this, k, static_cast<float>(k) / static_cast<float>(s), 0.0f);
  }
  Vertex(s) = Vertex(0);
  SetTexture(*this, s, 1.0f, 0.0f);
}
