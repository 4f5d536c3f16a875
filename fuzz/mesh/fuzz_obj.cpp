#include "ReadMesh.h"

#include <mesh/io/ObjImporter.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    return readAnyBytes<mesh::io::ObjImporter<float>>(data, size);
}
