// Writing node trees as XML: addSubNodeStringsRecursive and the whole command
// message of getCharBufferFromCommandStruct, at 10000 and 100000 leaves.
// Throughput counts the bytes of XML written; the ratio of the two sizes'
// times shows whether the writer stays linear (about 10).
#include <benchmark/benchmark.h>

#include <string>

#include "HandlerTools.h"
#include "XmlFunctions.h"

namespace {

constexpr int kLeavesPerItem = 10;

// Inventory-like items of ten leaves each, some contents needing escapes,
// under the given parent.
void addItems(ZovNode *parent, int leaves) {
    ZovNode **slot = &parent->subNode;
    while (*slot != nullptr) slot = &(*slot)->nextNode;
    for (int item = 0; item < leaves / kLeavesPerItem; ++item, slot = &(*slot)->nextNode) {
        ZovNode *node = *slot = newZovNode("item", nullptr);
        for (int leaf = 0; leaf < kLeavesPerItem; ++leaf) {
            std::string name = "field" + std::to_string(leaf);
            std::string contents =
                leaf == 3 ? "AT&T <wired> \"eth0\"" : "value-" + std::to_string(item);
            addNewZovSubNode(node, name.c_str(), contents.c_str());
        }
    }
}

// Runs write (which returns a new chain) and counts the bytes it produced.
template <typename Write>
void measure(benchmark::State &state, Write &&write) {
    int64_t bytes = 0;
    for (auto _ : state) {
        CharBuffer *chain = write();
        state.PauseTiming();
        bytes += getTotalBufferLength(chain);
        freeAllCharBuffers(chain);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(bytes);
}

void BM_AddSubNodeStringsRecursive(benchmark::State &state) {
    ZovNode *root = newZovNode("inventory", nullptr);
    addItems(root, static_cast<int>(state.range(0)));
    measure(state, [root] {
        CharBuffer *chain = createCharBuffer();
        addSubNodeStringsRecursive(chain, root);
        return chain;
    });
    freeZovNode(root);
}
BENCHMARK(BM_AddSubNodeStringsRecursive)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_GetCharBufferFromCommandStruct(benchmark::State &state) {
    ZovCommandStruct *command = newZovCommandStructWithNameAndGuid("inventory", "0f4c-77aa");
    addItems(command->rootNode, static_cast<int>(state.range(0)));
    measure(state, [command] { return getCharBufferFromCommandStruct(command); });
    freeZovCommandStruct(command);
}
BENCHMARK(BM_GetCharBufferFromCommandStruct)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
