#include "webdav/base/Filemap.h"

#include "webdav/base/CStr.h"
#include "webdav/base/ExceptObj.h"

namespace webdav {

void FileMap::Allocate(uint32_t size) {
    section_.close();
    if (const uint32_t error = section_.create(size); error != 0)
        throw ExceptObj(57, "Filemap", FormatText("Error (%u) in CreateFileMapping", error));
    if (const uint32_t error = section_.map(); error != 0) {
        section_.close();
        throw ExceptObj(67, "Filemap", FormatText("Error (%u) in MapViewOfFile", error));
    }
}

}  // namespace webdav
