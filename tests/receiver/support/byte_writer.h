/// Writes big-endian bytes for hand-made sections.
#ifndef VESTA_TESTS_RECEIVER_SUPPORT_BYTE_WRITER_H
#define VESTA_TESTS_RECEIVER_SUPPORT_BYTE_WRITER_H

#include "station/bytes/byte_writer.h"

namespace receiver {

using station::Bytes;
using station::ByteWriter;

}  // namespace receiver

#endif
