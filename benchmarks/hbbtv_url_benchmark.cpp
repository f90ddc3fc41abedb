/// Constructing (and destroying) a URL, beside GLib splitting the same text into strings.
///
/// GLib decodes the parts but, told to, neither query nor fragment: the work that HbbTVURL does.
#include <benchmark/benchmark.h>
#include <string>

#ifdef VESTA_HAVE_GLIB
#include <glib.h>
#endif

#include "signalling/hbbtv_url.h"

namespace {

using namespace VestaHbbTV;

constexpr const char* urls[] = {
    "http://hbbtv.example.com/launcher/index.html?channel=1&lang=de#home",
    "https://cdn.example.com:8443/a%20b/%C3%BCber/index%2ehtml?title=a%20b&x=%31#part%202",
    "dvb://1.44d.6dca.b/app/start/index.html?page=100#top",
    "dvb://current.ait/1a.2b?autoplay=1#chapter",
};
constexpr int urlCount = sizeof urls / sizeof *urls;
constexpr int currentAIT = urlCount - 1;

void labelWithURL(benchmark::State& state)
{
    state.SetLabel(urls[state.range(0)]);
}

template <typename URL>
void construct(benchmark::State& state)
{
    const std::string text = urls[state.range(0)];
    for ([[maybe_unused]] auto _ : state) {
        URL url(text);
        benchmark::DoNotOptimize(url);
    }
    labelWithURL(state);
}
BENCHMARK_TEMPLATE(construct, HbbTVURL)->DenseRange(0, urlCount - 1);
BENCHMARK_TEMPLATE(construct, HbbTVCurrentAITDVBURL)->Arg(currentAIT);

#ifdef VESTA_HAVE_GLIB
constexpr auto splitFlags =
    static_cast<GUriFlags>(G_URI_FLAGS_ENCODED_QUERY | G_URI_FLAGS_ENCODED_FRAGMENT);

void splitWithGUri(benchmark::State& state)
{
    const std::string text = urls[state.range(0)];
    for ([[maybe_unused]] auto _ : state) {
        char* parts[6] = {};
        int port = 0;
        if (!g_uri_split(text.c_str(), splitFlags, &parts[0], &parts[1], &parts[2], &port,
                         &parts[3], &parts[4], &parts[5], nullptr))
            state.SkipWithError("GLib refuses the URL");
        benchmark::DoNotOptimize(parts);
        for (char* part : parts)
            g_free(part);
    }
    labelWithURL(state);
}
BENCHMARK(splitWithGUri)->DenseRange(0, urlCount - 1);

void parseWithGUri(benchmark::State& state)
{
    const std::string text = urls[state.range(0)];
    for ([[maybe_unused]] auto _ : state) {
        GUri* const uri = g_uri_parse(text.c_str(), splitFlags, nullptr);
        if (!uri) {
            state.SkipWithError("GLib refuses the URL");
            break;
        }
        benchmark::DoNotOptimize(uri);
        g_uri_unref(uri);
    }
    labelWithURL(state);
}
BENCHMARK(parseWithGUri)->DenseRange(0, urlCount - 1);
#endif

}  // namespace
