#include <client/Window.h>

#include <algorithm>

namespace LpmClient {

using LpmTrie::Node;

/*
 * The greedy of `Cutter::cut` over a whole trie, without regard to its partitions. Pre-order read
 * backwards meets both children before their parent, the left one last: what is left uncut of
 * subtrees waits on a stack.
 */
U64 fewestPieces(ClientTrie& trie, U32 bucketRoutes) {
    std::vector<Node const*> nodes;
    auto step = trie.preorderNextNode(nullptr, nullptr, 0, false, false);
    for (; step.node() != nullptr;
         step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false)) {
        nodes.push_back(step.node());
    }
    U64 pieces = nodes.empty() ? 0 : 1;
    std::vector<U32> left;
    std::for_each(nodes.rbegin(), nodes.rend(), [&](Node const* node) {
        std::array<U32, 2> branch{};
        for (U32 bit = 0; bit <= 1; ++bit) {
            if (node->bitNode(bit) != nullptr) {
                branch[bit] = left.back();
                left.pop_back();
            }
        }
        U32 together = (node->fibRoute() ? 1U : 0U) + branch[0] + branch[1];
        while (together > bucketRoutes) {
            U32& heavy = *std::max_element(branch.begin(), branch.end());
            together -= heavy;
            heavy = 0;
            ++pieces;
        }
        left.push_back(together);
    });
    return pieces;
}

}  // namespace LpmClient
