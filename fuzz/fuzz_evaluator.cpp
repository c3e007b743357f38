#include "evaluator_target.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::evaluator({data, size});
    return 0;
}
