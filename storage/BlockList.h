// The block list: the block table and its lifecycle, the file tables with their use
// counts, reading block samples, and the block descriptor. Code that works with blocks
// includes this one header.
#pragma once

#include "storage/BlockDescriptor.h"
#include "storage/BlockFileTables.h"
#include "storage/BlockSampleIO.h"
#include "storage/BlockTable.h"
#include "storage/OriginalFileBlocks.h"
