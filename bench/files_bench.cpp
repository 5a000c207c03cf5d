// Single values of property files.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "bench/plain_cipher.h"
#include "bench/windows_file.h"
#include "fs/cipher.h"
#include "zelsyshelper.h"

#include <cstring>
#include <cwchar>

#include <SimpleIni.h>
#include <windows.h>

namespace {

using bench::Contender;

/// A file of numbered keys with one copy for each contender, so that none reads what another has written.
struct Sample {
    Sample(std::size_t keys, std::size_t wanted, std::size_t valueSize) {
        for (std::size_t i = 0; i < keys; ++i)
            contents += keyOf(i) + "=" + std::to_string(i) + std::string(valueSize, 'v') + "\n";
        key = keyOf(wanted);
        wideKey.assign(key.begin(), key.end());
        value = std::to_wstring(wanted) + std::wstring(valueSize, L'v');
        const std::wstring name = bench::setting(L"BENCH_FOLDER") + L"\\" + std::to_wstring(keys);
        plain = name + L"-ours.cfg";
        bare = name + L"-bare.cfg";
        ini = name + L"-ini.cfg";
        sectioned = name + L"-sectioned.cfg";
        bench::require(bench::writeWhole(plain, contents) && bench::writeWhole(bare, contents) &&
                           bench::writeWhole(ini, contents) &&
                           bench::writeWhole(sectioned, "[s]\r\n" + contents),
                       "the samples cannot be written");
    }

    static std::string keyOf(std::size_t number) { return "Setting" + std::to_string(100000 + number); }

    std::string contents, key;
    std::wstring wideKey, value, plain, bare, ini, sectioned;
};

Contender ourRead(const Sample& sample) {
    return {"getValueFromPropertyFile", [&] {
                wchar_t buffer[256];
                return getValueFromPropertyFile(sample.plain.c_str(), sample.key.c_str(), buffer, 256) == 0 &&
                       sample.value == buffer;
            }};
}

std::vector<Contender> otherReads(const Sample& sample) {
    return {{"GetPrivateProfileStringW",
             [&] {
                 wchar_t buffer[256];
                 GetPrivateProfileStringW(L"s", sample.wideKey.c_str(), L"", buffer, 256,
                                          sample.sectioned.c_str());
                 return sample.value == buffer;
             }},
            {"SimpleIni", [&] {
                 CSimpleIniA ini(true);
                 if (ini.LoadFile(sample.ini.c_str()) != SI_OK)
                     return false;
                 const char* const value = ini.GetValue("", sample.key.c_str());
                 wchar_t buffer[256];
                 return value != nullptr && MultiByteToWideChar(CP_UTF8, 0, value, -1, buffer, 256) > 0 &&
                        sample.value == buffer;
             }}};
}

Contender bareSearch(const Sample& sample, std::string& bytes) {
    return {"the same calls and a memchr over all bytes", [&] {
                return bench::readWhole(sample.bare, bytes) &&
                       std::memchr(bytes.data(), '\x01', bytes.size()) == nullptr;
            }};
}

void benchSmallRead() {
    const Sample sample(40, 20, 24);
    std::string bytes;
    bench::measure({.name = "read one value, 40 lines",
                    .ours = ourRead(sample),
                    .limit = Contender{"attributes, open, size, read, close",
                                       [&] { return bench::readWhole(sample.bare, bytes); }},
                    .alternatives = otherReads(sample),
                    .goal = {.mostToLimit = 1.15, .mostToAlternative = 1}});
}

void benchLargeRead() {
    const Sample sample(20000, 19999, 32);
    std::string bytes;
    bench::measure({.name = "read one value, 20,000 keys",
                    .ours = ourRead(sample),
                    .limit = bareSearch(sample, bytes),
                    .alternatives = otherReads(sample),
                    .goal = {.mostToLimit = 3},
                    .seconds = 4});
}

/// Returns a new value in every call, so that no contender can skip the write. All have the same length.
std::wstring nextValue() {
    static unsigned calls = 0;
    return L"a new value of the setting " + std::to_wstring(1'000'000'000 + calls++);
}

bench::Path setting(const std::string& name, const Sample& sample, std::string& bytes) {
    const std::vector<Contender> alternatives{
        {"WritePrivateProfileStringW",
         [&] {
             return WritePrivateProfileStringW(L"s", sample.wideKey.c_str(), nextValue().c_str(),
                                               sample.sectioned.c_str()) != FALSE;
         }},
        {"SimpleIni", [&] {
             CSimpleIniA ini(true);
             char narrow[128];
             return ini.LoadFile(sample.ini.c_str()) == SI_OK &&
                    WideCharToMultiByte(CP_UTF8, 0, nextValue().c_str(), -1, narrow, 128, nullptr, nullptr) >
                        0 &&
                    ini.SetValue("", sample.key.c_str(), narrow) >= 0 &&
                    ini.SaveFile(sample.ini.c_str(), false) == SI_OK;
         }}};
    return {.name = name,
            .ours = {"setValueInPropertyFile",
                     [&] {
                         return setValueInPropertyFile(sample.plain.c_str(), sample.key.c_str(),
                                                       nextValue().c_str()) == 1;
                     }},
            .limit = Contender{"read as above, truncate, write, close",
                               [&] {
                                   return bench::readWhole(sample.bare, bytes) &&
                                          bench::writeWhole(sample.bare, bytes);
                               }},
            .alternatives = alternatives,
            .goal = {.mostToLimit = 0.75, .mostToAlternative = 1}};
}

void benchWrite() {
    const Sample sample(40, 20, 24);
    std::string bytes;
    bench::measure(setting("set one value, 40 lines", sample, bytes));
}

/// Deciphers byte by byte, then parses, as a program without the library would do.
bool readEncipheredPlainly(const Sample& sample, std::string& bytes) {
    if (!bench::readWhole(sample.bare, bytes))
        return false;
    bench::plainDecipher(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    CSimpleIniA ini(true);
    const char* const value = ini.LoadData(bytes) == SI_OK ? ini.GetValue("", sample.key.c_str()) : nullptr;
    wchar_t buffer[256];
    return value != nullptr && MultiByteToWideChar(CP_UTF8, 0, value, -1, buffer, 256) > 0 &&
           sample.value == buffer;
}

constexpr std::size_t kValueSize = 32;
constexpr std::size_t kMostKeys = 1'000'000;

} // namespace

void growReading() {
    std::string bytes;
    for (std::size_t keys = 10; keys <= kMostKeys; keys *= 10) {
        const Sample sample(keys, keys - 1, kValueSize);
        bench::measureGrowth({.name = "read one value, by number of keys",
                              .ours = ourRead(sample),
                              .limit = bareSearch(sample, bytes),
                              .alternatives = otherReads(sample)},
                             keys);
    }
}

void growSetting() {
    std::string bytes;
    for (std::size_t keys = 10; keys <= kMostKeys; keys *= 10) {
        const Sample sample(keys, keys - 1, kValueSize);
        bench::measureGrowth(setting("set one value, by number of keys", sample, bytes), keys);
    }
}

void growEnciphered() {
    std::string bytes;
    for (std::size_t keys = 10; keys <= kMostKeys / 10; keys *= 10) {
        const Sample sample(keys, keys - 1, kValueSize);
        std::string enciphered = sample.contents;
        fs::encipher(reinterpret_cast<unsigned char*>(enciphered.data()), enciphered.size());
        bench::require(bench::writeWhole(sample.plain, enciphered) &&
                           bench::writeWhole(sample.bare, enciphered),
                       "the samples cannot be written");
        bench::measureGrowth({.name = "readProperty of an enciphered file, by bytes",
                              .ours = {"readProperty",
                                       [&] {
                                           wchar_t buffer[256];
                                           return readProperty(sample.plain.c_str(), sample.key.c_str(),
                                                               buffer, 256, 1) == sample.value.size() &&
                                                  sample.value == buffer;
                                       }},
                              .limit = Contender{"attributes, open, size, read, close",
                                                 [&] { return bench::readWhole(sample.bare, bytes); }},
                              .alternatives = {{"byte by byte, then SimpleIni",
                                                [&] { return readEncipheredPlainly(sample, bytes); }}}},
                             enciphered.size());
    }
}

void benchFiles() {
    benchSmallRead();
    benchLargeRead();
    benchWrite();
}
