#include "ReadMesh.h"

#include <mesh/io/VtkImporter.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    return readAnyBytes<mesh::io::VtkImporter<float>>(data, size);
}
