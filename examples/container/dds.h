// DirectDraw Surface files holding one 2-D texture of 4x4 blocks: DXT1, DXT3
// and DXT5 through their four-character codes, BC7 through the DX10
// extension header, and DXT5 blocks carrying YCoCg colour.
//
// YCoCg-DXT5 is an ordinary DXT5 file (FourCC "DXT5") whose first two
// reserved header words hold the tags "ZEQJ" and "YCG5". Readers unaware of
// the tags see a valid DXT5 texture (Y in alpha, scaled Co and Cg in red and
// green, the chroma scale in blue); this reader reports the variant.
#ifndef ZEQ_CONTAINER_DDS_H
#define ZEQ_CONTAINER_DDS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zeq::container {

enum class DdsFormat { Dxt1, Dxt3, Dxt5, YCoCgDxt5, Bc7 };

struct DdsImage {
    int32_t width = 0;
    int32_t height = 0;
    DdsFormat format = DdsFormat::Dxt1;
    // ceil(width / 4) x ceil(height / 4) blocks, rows of blocks top to bottom.
    std::vector<uint8_t> blocks;
};

// 8 bytes for DXT1, 16 for the others.
size_t ddsBlockBytes(DdsFormat format);
// Bytes of the block stream of a width x height texture (both at least 1).
uint64_t ddsBlockStreamBytes(DdsFormat format, uint32_t width, uint32_t height);
const char* ddsFormatName(DdsFormat format);

// Serializes image (blocks must hold exactly ddsBlockStreamBytes bytes).
// DXT formats use the plain header; BC7 adds the DX10 header (DXGI format
// BC7_UNORM).
std::vector<uint8_t> formatDds(const DdsImage& image);

// Parses the top-level surface of a 2-D texture. Mipmap levels after it are
// ignored; cube maps, volumes, texture arrays and formats other than the
// five above are refused. On failure returns false with *error set and
// image left empty. Any input bytes are safe.
bool parseDds(const uint8_t* data, size_t size, DdsImage& image, std::string* error);

}  // namespace zeq::container

#endif
