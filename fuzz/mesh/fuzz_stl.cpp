#include "ReadMesh.h"

#include <mesh/io/StlImporter.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    return readAnyBytes<mesh::io::StlImporter<float>>(data, size);
}
