// Byte buffers: a block and its length.
#include "pb_object.h"

#include <pb/pb_buffer.h>
#include <pb/pb_mem.h>

struct PB_BUFFER {
    PB_OBJ obj;
    void *bytes; ///< owned; null when the length is 0
    pbInt length;
};

namespace {

void Free(PB_OBJ *obj)
{
    pbMemFree(reinterpret_cast<PB_BUFFER *>(obj)->bytes);
}

constinit PB_SORT sort = pb::Sort("PB_BUFFER", Free);

} // namespace

PB_BUFFER *pbBufferCreateFromBytesUse(void *bytes, pbInt length)
{
    PB_ASSERT(length >= 0);
    PB_ASSERT(bytes || length == 0);

    auto *buf = pb::Create<PB_BUFFER>(sort);
    buf->bytes = bytes;
    buf->length = length;
    pb___ObjDbgSetAllocationSize(&buf->obj, length);
    return buf;
}

const void *pbBufferBacking(PB_BUFFER *buf)
{
    PB_ASSERT(buf);

    return buf->bytes;
}

pbInt pbBufferLength(PB_BUFFER *buf)
{
    PB_ASSERT(buf);

    return buf->length;
}
