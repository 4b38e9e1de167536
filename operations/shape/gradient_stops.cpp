#include "operations/shape/gradient_stops.h"

#include <charconv>
#include <iterator>

namespace zt {

namespace {

constexpr std::u16string_view kClipboardPrefix = u"ZTGRAD1:";

// One number at aText[*aAt]: blanks and a plus sign before it are passed over. The text is
// narrowed first; characters outside ASCII end the number.
bool ReadNumber(std::u16string_view aText, size_t* aAt, double* aValue) {
    size_t i = *aAt;
    while (i < aText.size() && (aText[i] == u' ' || aText[i] == u'\t')) ++i;
    if (i < aText.size() && aText[i] == u'+') ++i;
    std::string narrow;
    for (size_t j = i; j < aText.size() && aText[j] < 128 && narrow.size() < 64; ++j) narrow += char(aText[j]);
    const auto [end, error] = std::from_chars(narrow.data(), narrow.data() + narrow.size(), *aValue);
    if (error != std::errc() || end == narrow.data()) return false;
    *aAt = i + size_t(end - narrow.data());
    return true;
}

uint16_t PositionOf(double aValue) {
    if (!(aValue > 0.0)) return 0;
    if (aValue >= double(kGradientEnd)) return uint16_t(kGradientEnd);
    return static_cast<uint16_t>(aValue);
}

void AppendNumber(std::u16string& aOut, double aValue) {
    char text[32];
    const auto [end, error] = std::to_chars(text, text + sizeof text, aValue, std::chars_format::general, 6);
    for (const char* c = text; error == std::errc() && c < end; ++c) aOut += char16_t(*c);
}

// A position stretched from the span aFrom .. aTo onto 0 .. 65535.
uint16_t Stretch(uint32_t aPosition, uint32_t aFrom, uint32_t aTo) {
    return uint16_t(uint64_t(aPosition - aFrom) * kGradientEnd / (aTo - aFrom));
}

}  // namespace

TGradient ReadGradientStops(std::u16string_view aText) {
    TGradient stops;
    size_t at = 0;
    while (at < aText.size()) {
        double v[5];
        bool whole = true;
        for (int n = 0; n < 5 && whole; ++n) {
            whole = ReadNumber(aText, &at, &v[n]);
            if (whole && n < 4) {
                whole = at < aText.size() && aText[at] == u',';
                ++at;
            }
        }
        if (!whole) break;
        if (at < aText.size() && aText[at] == u';') ++at;
        stops[PositionOf(v[0])] = {0, float(v[1]), float(v[2]), float(v[3]), float(v[4])};
    }
    return stops;
}

void NormaliseGradient(TGradient& aGradient) {
    if (aGradient.size() < 2) {
        aGradient = {{0, {0, 0, 0, 0, 1}}, {uint16_t(kGradientEnd), {0, 1, 1, 1, 1}}};
        return;
    }
    if (aGradient.begin()->first != 0) aGradient[0] = aGradient.begin()->second;
    if (aGradient.rbegin()->first != kGradientEnd) aGradient[uint16_t(kGradientEnd)] = aGradient.rbegin()->second;
}

TGradient ParseGradient(std::u16string_view aText) {
    TGradient g = ReadGradientStops(aText);
    NormaliseGradient(g);
    return g;
}

std::u16string GradientText(const TGradient& aGradient) {
    std::u16string out;
    for (const auto& [position, stop] : aGradient) {
        for (char c : std::to_string(position)) out += char16_t(c);
        for (float v : {stop.r, stop.g, stop.b, stop.a}) {
            out += u',';
            AppendNumber(out, v);
        }
        out += u';';
    }
    return out;
}

std::u16string GradientClipboardText(const TGradient& aGradient) {
    return std::u16string(kClipboardPrefix) + GradientText(aGradient);
}

bool PasteGradient(std::u16string_view aClipboard, TGradient* aGradient) {
    if (aClipboard.substr(0, kClipboardPrefix.size()) != kClipboardPrefix) return false;
    TGradient stops = ReadGradientStops(aClipboard.substr(kClipboardPrefix.size()));
    if (stops.size() < 2) return false;
    NormaliseGradient(stops);
    *aGradient = std::move(stops);
    return true;
}

void ReverseGradient(TGradient& aGradient) {
    TGradient reversed;
    for (const auto& [position, stop] : aGradient) reversed[uint16_t(kGradientEnd - position)] = stop;
    aGradient = std::move(reversed);
}

void MirrorGradient(TGradient& aGradient) {
    TGradient mirrored;
    for (const auto& [position, stop] : aGradient) {
        mirrored[uint16_t(position / 2)] = stop;
        if (position != kGradientEnd) mirrored[uint16_t(kGradientEnd - position / 2)] = stop;
    }
    aGradient = std::move(mirrored);
}

void RemoveGradientStop(TGradient& aGradient, uint16_t aPosition) {
    aGradient.erase(aPosition);
    NormaliseGradient(aGradient);
}

void RemoveGradientStopsLeft(TGradient& aGradient, uint16_t aPosition) {
    if (!aGradient.count(aPosition) || aPosition == kGradientEnd) return;
    TGradient kept;
    for (auto it = aGradient.find(aPosition); it != aGradient.end(); ++it)
        kept[Stretch(it->first, aPosition, kGradientEnd)] = it->second;
    aGradient = std::move(kept);
    NormaliseGradient(aGradient);
}

void RemoveGradientStopsRight(TGradient& aGradient, uint16_t aPosition) {
    if (!aGradient.count(aPosition) || aPosition == 0) return;
    TGradient kept;
    for (auto it = aGradient.begin(); it != aGradient.end() && it->first <= aPosition; ++it)
        kept[Stretch(it->first, 0, aPosition)] = it->second;
    aGradient = std::move(kept);
    NormaliseGradient(aGradient);
}

std::vector<SGradientStop> GradientToTable(const TGradient& aGradient, uint32_t aCount) {
    std::vector<SGradientStop> table(aCount);
    if (aGradient.empty() || aCount < 2) return table;
    for (uint32_t i = 0; i < aCount; ++i) {
        const uint32_t p = uint32_t(uint64_t(i) * kGradientEnd / (aCount - 1));
        auto next = aGradient.upper_bound(uint16_t(p));
        if (next == aGradient.begin()) {  // no stop at 0: the first stop holds
            table[i] = next->second;
            continue;
        }
        const auto s0 = std::prev(next);
        if (p == s0->first || next == aGradient.end()) {
            table[i] = s0->second;
            continue;
        }
        const SGradientStop &a = s0->second, &b = next->second;
        const float t = float(p - s0->first) / float(next->first - s0->first);
        const float alpha = a.a * (1 - t) + b.a * t;
        if (!(alpha > 0)) continue;  // all zero
        auto channel = [&](float aFrom, float aTo) { return (aFrom * a.a * (1 - t) + aTo * b.a * t) / alpha; };
        table[i] = {0, channel(a.r, b.r), channel(a.g, b.g), channel(a.b, b.b), alpha};
    }
    return table;
}

}  // namespace zt
