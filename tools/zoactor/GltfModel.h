// The glTF model type of the export: tinygltf's, from Debian's shared
// library. Its header is included here only, so that every file of the
// export sees it configured the same way: the library was built with its
// image codecs, whose headers the export does not need (it embeds image
// files as they are and decodes none).
#ifndef ZOACTOR_TOOLS_GLTFMODEL_H
#define ZOACTOR_TOOLS_GLTFMODEL_H

#define TINYGLTF_NO_INCLUDE_STB_IMAGE
#define TINYGLTF_NO_INCLUDE_STB_IMAGE_WRITE
#include <tiny_gltf.h>

#endif
