#include "ReadMesh.h"

#include <mesh/io/PlyImporter.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    return readAnyBytes<mesh::io::PlyImporter<float>>(data, size);
}
