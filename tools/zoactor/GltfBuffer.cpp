#include "GltfBuffer.h"

#include <algorithm>
#include <cstring>

namespace zotool {

namespace {

int AccessorType(int components) {
  switch (components) {
    case 1: return TINYGLTF_TYPE_SCALAR;
    case 2: return TINYGLTF_TYPE_VEC2;
    case 3: return TINYGLTF_TYPE_VEC3;
    default: return TINYGLTF_TYPE_VEC4;
  }
}

}  // namespace

int GltfBuffer::AddView(void const* data, size_t size, int target) {
  if (model.buffers.empty()) model.buffers.emplace_back();
  std::vector<unsigned char>& bytes = model.buffers[0].data;
  bytes.resize((bytes.size() + 3) & ~size_t{3}, 0);
  size_t offset = bytes.size();
  bytes.resize(offset + size);
  std::memcpy(bytes.data() + offset, data, size);

  tinygltf::BufferView view;
  view.buffer = 0;
  view.byteOffset = offset;
  view.byteLength = size;
  view.target = target;
  model.bufferViews.push_back(view);
  return static_cast<int>(model.bufferViews.size() - 1);
}

int GltfBuffer::AddFloats(std::vector<float> const& values, int components, int target, bool withBounds) {
  size_t count = values.size() / static_cast<size_t>(components);
  if (count == 0) return -1;
  tinygltf::Accessor accessor;
  accessor.bufferView = AddView(values.data(), count * static_cast<size_t>(components) * sizeof(float), target);
  accessor.componentType = TINYGLTF_COMPONENT_TYPE_FLOAT;
  accessor.count = count;
  accessor.type = AccessorType(components);
  if (withBounds) {
    accessor.minValues.assign(static_cast<size_t>(components), 0.0);
    accessor.maxValues.assign(static_cast<size_t>(components), 0.0);
    for (int c = 0; c < components; ++c) {
      float low = values[static_cast<size_t>(c)];
      float high = low;
      for (size_t i = static_cast<size_t>(c); i < values.size(); i += static_cast<size_t>(components)) {
        low = std::min(low, values[i]);
        high = std::max(high, values[i]);
      }
      accessor.minValues[static_cast<size_t>(c)] = static_cast<double>(low);
      accessor.maxValues[static_cast<size_t>(c)] = static_cast<double>(high);
    }
  }
  model.accessors.push_back(accessor);
  return static_cast<int>(model.accessors.size() - 1);
}

int GltfBuffer::AddIndices(std::vector<uint32_t> const& indices) {
  if (indices.empty()) return -1;
  tinygltf::Accessor accessor;
  accessor.bufferView = AddView(indices.data(), indices.size() * sizeof(uint32_t), TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
  accessor.componentType = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
  accessor.count = indices.size();
  accessor.type = TINYGLTF_TYPE_SCALAR;
  model.accessors.push_back(accessor);
  return static_cast<int>(model.accessors.size() - 1);
}

int GltfBuffer::AddImageBytes(std::vector<char> const& bytes) { return AddView(bytes.data(), bytes.size(), 0); }

}  // namespace zotool
