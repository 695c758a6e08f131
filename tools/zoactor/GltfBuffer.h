// GltfBuffer: the one binary buffer of an exported glTF model. Every array
// the export writes (positions, indices, key times, images) is appended to
// buffer 0 at a four-byte boundary, with its own buffer view and, for
// typed arrays, an accessor. Positions and key times carry the bounds that
// glTF requires of them.
//
// Edge cases:
// - An empty array gets no view and no accessor: the Add… functions return
//   -1, and callers leave the attribute out.
// - Bounds are taken over the values as given; callers pass finite values
//   only (glTF has no place for NaN in a bound).
#ifndef ZOACTOR_TOOLS_GLTFBUFFER_H
#define ZOACTOR_TOOLS_GLTFBUFFER_H

#include "GltfModel.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zotool {

class GltfBuffer {
 public:
  // Appends to buffer 0 of `model` (created on first use); borrows the model.
  explicit GltfBuffer(tinygltf::Model& target) : model(target) {}

  // `values` as `count` elements of `components` floats (1 to 4) each;
  // returns the accessor's index, or -1 when there are none. `target` is the
  // view's target (0 for none); `withBounds` adds min and max per component.
  int AddFloats(std::vector<float> const& values, int components, int target, bool withBounds);
  // Triangle corner indices as unsigned 32-bit scalars; the accessor's index.
  int AddIndices(std::vector<uint32_t> const& indices);
  // The bytes of an embedded image; returns the buffer view's index.
  int AddImageBytes(std::vector<char> const& bytes);

 private:
  int AddView(void const* data, size_t size, int target);

  tinygltf::Model& model;
};

}  // namespace zotool

#endif
