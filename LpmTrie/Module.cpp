#include <LpmTrie/Module.h>

namespace LpmTrie {

constinit Vexo::FwkModule const lpmTrieModule("LpmTrie", Detail::source);

namespace Detail {
constinit Vexo::TraceHandle trace("LpmTrie");
}

}  // namespace LpmTrie
