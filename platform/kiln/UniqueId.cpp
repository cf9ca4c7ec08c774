#include "platform/kiln/UniqueId.h"

namespace Kiln {

namespace {
std::uint64_t gGeneration = 1;
std::uint64_t gCounter = 0;
}  // namespace

UniqueId UniqueId::next() { return UniqueId(gGeneration, ++gCounter); }

void UniqueId::generationIs(std::uint64_t generation) { gGeneration = generation; }

void UniqueId::counterReset() { gCounter = 0; }

}  // namespace Kiln
