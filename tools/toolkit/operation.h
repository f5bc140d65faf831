// How an operation gets into the bridge's tables: its vended name and the C++ function behind it.
//
//     method<stripTag>("stripTag:")             the first parameter is the receiver
//     function<toLower>("toLower")              there is none
//     method<[](std::u16string_view self, bool only) {...}>("...:")
//
// The parameters' types say what the request must hold, and how the result is written (values.h).
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tools/toolkit/values.h"

namespace corvy::tools {

struct Operation {
    std::string_view name;
    bool hasReceiver;
    std::string (*signature)();  // such as "(string; string, boolean)"
    // None when the values do not fit the signature; `values` begin with the receiver, if any.
    std::optional<Reply> (*call)(std::span<const PropertyList> values);
};

namespace detail {

template <typename>
struct Signature;
template <typename R, typename... A>
struct Signature<R (*)(A...)> {
    using Result = R;
    using Arguments = std::tuple<Argument<std::remove_cvref_t<A>>...>;
    static constexpr std::size_t kCount = sizeof...(A);
};
template <typename F>
using SignatureOf = Signature<decltype(+std::declval<F>())>;

template <auto function>
std::optional<Reply> invoke(std::span<const PropertyList> values) {
    using S = SignatureOf<decltype(function)>;
    if (values.size() > S::kCount) return std::nullopt;
    typename S::Arguments arguments;
    const auto read = [values](std::size_t i, auto& argument) {
        return i < values.size() ? argument.read(values[i]) : argument.kCanBeLeftOut;
    };
    return [&]<std::size_t... i>(std::index_sequence<i...>)->std::optional<Reply> {
        if (!(read(i, std::get<i>(arguments)) && ...)) return std::nullopt;
        if constexpr (std::is_same_v<typename S::Result, Reply>) {
            return function(std::get<i>(arguments).value()...);
        } else if constexpr (std::is_void_v<typename S::Result>) {
            function(std::get<i>(arguments).value()...);
            return Reply{};
        } else {
            return Reply{resultOf(function(std::get<i>(arguments).value()...)), {}};
        }
    }
    (std::make_index_sequence<S::kCount>());
}

template <auto function, bool hasReceiver>
std::string signatureText() {
    using S = SignatureOf<decltype(function)>;
    return [&]<std::size_t... i>(std::index_sequence<i...>) {
        std::string text = hasReceiver ? "(" : "(; ";
        ((text += std::tuple_element_t<i, typename S::Arguments>::kName,
          text += i + 1 == S::kCount      ? ""
                  : hasReceiver && i == 0 ? "; "
                                          : ", "),
         ...);
        return text + ")";
    }
    (std::make_index_sequence<S::kCount>());
}

}  // namespace detail

template <auto f>
constexpr Operation method(std::string_view name) {
    return {name, true, detail::signatureText<f, true>, detail::invoke<f>};
}

template <auto f>
constexpr Operation function(std::string_view name) {
    return {name, false, detail::signatureText<f, false>, detail::invoke<f>};
}

// The tables, one for each subject; toolkit_bridge.cpp lists them.
std::span<const Operation> scannerOperations();
std::span<const Operation> attributeOperations();
std::span<const Operation> entityOperations();
std::span<const Operation> queryOperations();
std::span<const Operation> strippingOperations();
std::span<const Operation> plainTextOperations();
std::span<const Operation> errorPageOperations();
std::span<const Operation> webArchiveOperations();
std::span<const Operation> characterOperations();
std::span<const Operation> characterSetOperations();
std::span<const Operation> addressOperations();
std::span<const Operation> urlSimplificationOperations();
std::span<const Operation> dateOperations();
std::span<const Operation> resourceForkOperations();
std::span<const Operation> articleOperations();
std::span<const Operation> feedOperations();
std::span<const Operation> imageOperations();
std::span<const Operation> settingOperations();

}  // namespace corvy::tools
