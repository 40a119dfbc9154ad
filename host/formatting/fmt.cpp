/*
 * fmt, compiled once. As a header alone it takes two to three seconds of every source that formats a text; Debian has it
 * otherwise as a shared library only, which a static program cannot take.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format-inl.h>

// What its headers declare to be instantiated elsewhere.
FMT_BEGIN_NAMESPACE
namespace detail {

template FMT_API auto dragonbox::to_decimal(float number) noexcept -> dragonbox::decimal_fp<float>;
template FMT_API auto dragonbox::to_decimal(double number) noexcept
    -> dragonbox::decimal_fp<double>;
template FMT_API locale_ref::locale_ref(const std::locale& locale);
template FMT_API auto locale_ref::get<std::locale>() const -> std::locale;
template FMT_API auto thousands_sep_impl(locale_ref locale) -> thousands_sep_result<char>;
template FMT_API auto thousands_sep_impl(locale_ref locale) -> thousands_sep_result<wchar_t>;
template FMT_API auto decimal_point_impl(locale_ref locale) -> char;
template FMT_API auto decimal_point_impl(locale_ref locale) -> wchar_t;

}  // namespace detail
FMT_END_NAMESPACE
