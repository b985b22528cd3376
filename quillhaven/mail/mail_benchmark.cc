#include <benchmark/benchmark.h>

#include <string>

#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/mail/encoded_words.h"

namespace quillhaven::mail {
namespace {

constexpr std::string_view kHeader =
    "Received: from mx.example.org (mx.example.org [192.0.2.7])\n"
    "\tby mail.example.org (Postfix) with ESMTPS id 4XyZ1234\n"
    "\tfor <anna@example.org>; Fri, 7 Jun 2024 10:15:00 +0200 (CEST)\n"
    "From: =?utf-8?Q?Bj=C3=B6rn_Berg?= <bjorn@example.org>\n"
    "To: Anna Lind <anna@example.org>, office@example.org\n"
    "Subject: =?utf-8?B?R3LDvMOfZSBhdXMgZGVtIEdhcnRlbg==?=\n"
    "Message-ID: <5f1c2d3e4b5a69788796a5b4c3d2e1f0@example.org>\n"
    "Date: Fri, 7 Jun 2024 10:14:58 +0200\n"
    "MIME-Version: 1.0\n";

void parse(benchmark::State& state, const std::string& message) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(EmailMessageParser::parserWithData(message));
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(message.size()));
}

void BM_ParseHeaderOnly(benchmark::State& state) {
  parse(state, std::string(kHeader) + "\n");
}
BENCHMARK(BM_ParseHeaderOnly);

void BM_ParseAlternative(benchmark::State& state) {
  std::string message = std::string(kHeader) +
                        "Content-Type: multipart/alternative; boundary=xyz\n\n";
  const std::string line = "We meet in the old hall =E2=80=93 bring tools.\n";
  for (const char* type : {"plain", "html"}) {
    message += "--xyz\nContent-Type: text/" + std::string(type) +
               "; charset=utf-8\nContent-Transfer-Encoding: "
               "quoted-printable\n\n";
    for (std::int64_t i = 0; i < state.range(0); i += 47) message += line;
  }
  parse(state, message + "--xyz--\n");
}
BENCHMARK(BM_ParseAlternative)->Range(1 << 10, 1 << 18);

void BM_RefuseWithoutHeader(benchmark::State& state) {
  parse(state, "no header\n\n" + std::string(1 << 12, 'x') + "\xFF");
}
BENCHMARK(BM_RefuseWithoutHeader);

void BM_DecodeEncodedWords(benchmark::State& state) {
  std::string value;
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    value += "=?iso-8859-1?Q?caf=E9_au_lait?= ";
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(stringWithMimeEncodedString(value));
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(value.size()));
}
BENCHMARK(BM_DecodeEncodedWords)->Range(1, 64);

}  // namespace
}  // namespace quillhaven::mail
