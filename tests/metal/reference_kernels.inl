// Compiles the text that the plug-in carries as C++ in the namespace KERNELS_NAMESPACE and lists its kernels for
// KERNELS_FUNCTION. The binding indices stand here a second time, on purpose: the host binds by these numbers.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tests/metal/reference_kernels.h"

namespace velloid::KERNELS_NAMESPACE {

#include "tarnwell_kernels.metal"

} // namespace velloid::KERNELS_NAMESPACE

namespace velloid::gpu {
namespace {

namespace k = velloid::KERNELS_NAMESPACE;

template <typename T>
T argument(const KernelArgument& given) {
    if constexpr (std::is_pointer_v<T>) {
        return static_cast<T>(given.buffer);
    } else {
        T value;
        std::memcpy(&value, given.value.data(), sizeof value);
        return value;
    }
}

template <typename Signature>
struct Call;

template <typename... Parameters>
struct Call<void (*)(Parameters...)> {
    using All = std::tuple<Parameters...>;
    static constexpr std::size_t COUNT = sizeof...(Parameters) - 1; // the last one is the position

    template <auto Function, std::size_t... Rank>
    static void run(const std::vector<KernelArgument>& given, k::uint2 id, std::index_sequence<Rank...>) {
        Function(argument<std::tuple_element_t<Rank, All>>(given[Rank])..., id);
    }

    template <std::size_t... Rank>
    static std::vector<std::size_t> valueSizes(std::index_sequence<Rank...>) {
        return {(std::is_pointer_v<std::tuple_element_t<Rank, All>> ? 0 : sizeof(std::tuple_element_t<Rank, All>))...};
    }
};

template <auto Function>
void runThread(const std::vector<KernelArgument>& given, std::uint32_t x, std::uint32_t y) {
    using Typed = Call<decltype(Function)>;
    Typed::template run<Function>(given, k::uint2{x, y}, std::make_index_sequence<Typed::COUNT>());
}

template <auto Function>
CompiledKernel compiled(const char* name, std::vector<unsigned> indices) {
    using Typed = Call<decltype(Function)>;
    return {name, std::move(indices), Typed::valueSizes(std::make_index_sequence<Typed::COUNT>()),
            &runThread<Function>};
}

} // namespace

const std::vector<CompiledKernel>& KERNELS_FUNCTION() {
    static const std::vector<CompiledKernel> TABLE = {
        compiled<&k::k_decode>("k_decode", {0, 1, 2, 3, 9}),
        compiled<&k::k_blur_h>("k_blur_h", {0, 1, 2, 3, 9}),
        compiled<&k::k_blur_v>("k_blur_v", {0, 1, 2, 3, 9}),
        compiled<&k::k_blur_h_d>("k_blur_h_d", {0, 1, 2, 3, 4}),
        compiled<&k::k_blur_v_d>("k_blur_v_d", {0, 1, 2, 3, 4}),
        compiled<&k::k_down2>("k_down2", {0, 1, 2}),
        compiled<&k::k_up_bilinear>("k_up_bilinear", {0, 1, 2}),
        compiled<&k::k_lerp>("k_lerp", {0, 1, 2, 3, 9}),
        compiled<&k::k_copy>("k_copy", {0, 1, 9}),
        compiled<&k::k_to_logc4>("k_to_logc4", {0, 1, 9}),
        compiled<&k::k_excess>("k_excess", {0, 1, 2, 9}),
        compiled<&k::k_detail_sharp>("k_detail_sharp", {0, 1, 2, 3, 9}),
        compiled<&k::k_bloom_combine>("k_bloom_combine", {0, 1, 2, 3, 4, 5, 9}),
        compiled<&k::k_hal_combine>("k_hal_combine", {0, 1, 2, 3, 4, 9}),
        compiled<&k::k_grain_prepare>("k_grain_prepare", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
        compiled<&k::k_grain_finish>("k_grain_finish", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}),
        compiled<&k::k_color_lut>("k_color_lut", {0, 1, 2, 3, 9}),
        compiled<&k::k_weave>("k_weave", {0, 1, 2, 3, 4, 5, 9}),
        compiled<&k::k_bw>("k_bw", {0, 1, 2, 9}),
        compiled<&k::k_alexa_scene_fit>("k_alexa_scene_fit", {0, 1, 2, 9}),
        compiled<&k::k_encode_out>("k_encode_out", {0, 1, 2, 3, 4, 5, 9}),
    };
    return TABLE;
}

} // namespace velloid::gpu
