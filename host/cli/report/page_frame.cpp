/*
 * What every page has around its content.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/page_frame.h"

#include <fmt/format.h>
#include <sodium.h>

#include <array>

namespace tvq::cli {
namespace {

// As a content security policy names a script that may run (CSP 3, 6.7.2).
std::string SourceHash(std::string_view text) {
  std::array<unsigned char, crypto_hash_sha256_BYTES> hash;
  crypto_hash_sha256(hash.data(), reinterpret_cast<const unsigned char*>(text.data()), text.size());
  std::array<char,
             sodium_base64_ENCODED_LEN(crypto_hash_sha256_BYTES, sodium_base64_VARIANT_ORIGINAL)>
      encoded;
  sodium_bin2base64(encoded.data(), encoded.size(), hash.data(), hash.size(),
                    sodium_base64_VARIANT_ORIGINAL);
  return fmt::format("'sha256-{}'", encoded.data());
}

}  // namespace

void BeginPage(HtmlWriter& html, std::string_view title, std::string_view script) {
  std::string policy =
      "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'";
  if (!script.empty()) {
    policy += "; script-src " + SourceHash(script);
  }
  html.Markup("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">");
  html.AddEmpty("meta", {{"http-equiv", "Content-Security-Policy"}, {"content", policy}});
  html.AddEmpty("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
  html.AddEmpty("meta", {{"name", "color-scheme"}, {"content", "light dark"}});
  html.AddEmpty("meta", {{"name", "referrer"}, {"content", "no-referrer"}});
  html.Add("title", {}, title);
  html.Markup("\n<style>\n");
  html.Markup(kReportStyle);
  html.Markup("</style>\n</head>\n<body>");
  html.Link("#main", "Skip to the report", "skip");
}

void EndPage(HtmlWriter& html) {
  html.Markup("\n</body>\n</html>\n");
}

}  // namespace tvq::cli
