// lzma_corpus.h - the generated objects of the LZMA tests and benchmark, byte
// for byte those of gen_object() in test/data/lzma_model.py: five families
// of stored objects (compact text rows, wide binary rows, expanded row
// images, prose, expanded index nodes) from a splitmix64 stream. The
// vectors file records the SHA-256 of each, so the two cannot drift apart.
#ifndef LZMA_CORPUS_H
#define LZMA_CORPUS_H

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace lzma_corpus {

using Bytes = std::vector<uint8_t>;

struct SplitMix64 {
    uint64_t state;
    explicit SplitMix64(uint64_t seed) : state(seed) {}
    uint64_t next() {
        state += 0x9E3779B97F4A7C15ull;
        uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    uint64_t below(uint64_t n) { return next() % n; }
};

inline const char *const kFirst[] = {"Anna",  "Bert", "Carla", "Dieter", "Eva",   "Frank",
                                     "Greta", "Hans", "Ines",  "Jonas",  "Karin", "Lukas",
                                     "Maria", "Nils", "Olga",  "Paul"};
inline const char *const kLast[] = {"Schmidt", "Meyer",   "Weber", "Wagner", "Becker",  "Hoffmann",
                                    "Koch",    "Richter", "Klein", "Wolf",   "Neumann", "Braun"};
inline const char *const kCities[] = {"Berlin",    "Hamburg", "Munich",  "Cologne", "Frankfurt",
                                      "Stuttgart", "Leipzig", "Dresden", "Bremen",  "Hanover"};
inline const char *const kWords[] = {
    "the",     "of",      "and",    "a",       "to",       "in",      "is",      "was",
    "that",    "for",     "it",     "with",    "as",       "his",     "on",      "be",
    "at",      "by",      "had",    "this",    "not",      "but",     "from",    "or",
    "have",    "an",      "they",   "which",   "one",      "were",    "her",     "all",
    "she",     "there",   "would",  "their",   "we",       "him",     "been",    "has",
    "when",    "who",     "will",   "more",    "no",       "if",      "out",     "so",
    "said",    "what",    "up",     "its",     "about",    "into",    "than",    "them",
    "can",     "only",    "other",  "new",     "some",     "could",   "time",    "these",
    "two",     "may",     "then",   "do",      "first",    "any",     "my",      "now",
    "such",    "like",    "our",    "over",    "man",      "me",      "even",    "most",
    "made",    "after",   "also",   "did",     "many",     "before",  "must",    "through",
    "back",    "years",   "where",  "much",    "your",     "way",     "well",    "down",
    "should",  "because", "each",   "just",    "river",    "house",   "garden",  "winter",
    "morning", "letter",  "window", "village", "mountain", "silence", "harbour", "question"};
inline const char *const kFamilies[] = {"text", "binary", "expanded", "prose", "node"};
constexpr int kFamilyCount = 5;
constexpr uint64_t kPrices[] = {199, 250, 999, 1250, 4999};

template <class T, size_t N>
constexpr uint64_t count(const T (&)[N]) {
    return N;
}

// The stored varint, enough of it for these values (up to 3 bytes).
inline void vint(Bytes &out, uint64_t v) {
    if (v <= 0x7F) {
        out.push_back(static_cast<uint8_t>(v));
    } else if (v <= 0x407F) {
        v -= 0x80;
        out.push_back(static_cast<uint8_t>(0x80 | (v >> 8)));
        out.push_back(static_cast<uint8_t>(v));
    } else {
        v -= 0x4080;
        out.push_back(static_cast<uint8_t>(0xC0 | (v >> 16)));
        out.push_back(static_cast<uint8_t>(v >> 8));
        out.push_back(static_cast<uint8_t>(v));
    }
}

inline void s8(Bytes &out, const std::string &s) {
    out.push_back(static_cast<uint8_t>(s.size()));
    out.insert(out.end(), s.begin(), s.end());
}

inline void be(Bytes &out, uint64_t v, int n) {
    for (int i = n - 1; i >= 0; i--) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

inline void le(Bytes &out, uint64_t v, int n) {
    for (int i = 0; i < n; i++) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

inline void padded(Bytes &out, const std::string &s, size_t width) {
    out.insert(out.end(), s.begin(), s.end());
    out.insert(out.end(), width - s.size(), 0);
}

inline std::string lower(std::string s) {
    for (char &c : s) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    return s;
}

inline void text_rows(SplitMix64 &r, Bytes &out, size_t size) {
    uint64_t rowid = 1000 + r.below(1000);
    while (out.size() < size) {
        rowid += 1 + r.below(3);
        const std::string first = kFirst[r.below(count(kFirst))];
        const std::string last = kLast[r.below(count(kLast))];
        Bytes row;
        vint(row, rowid);
        s8(row, first);
        s8(row, last);
        s8(row, kCities[r.below(count(kCities))]);
        s8(row, lower(first) + "." + lower(last) + "@example.com");
        vint(row, 18 + r.below(60));
        const uint64_t month = 1 + r.below(12);
        const uint64_t day = 1 + r.below(28);
        char date[16];
        std::snprintf(date, sizeof date, "2024-%02u-%02u", static_cast<unsigned>(month),
                      static_cast<unsigned>(day));
        s8(row, date);
        static const char *const status[] = {"active", "closed", "pending"};
        s8(row, status[r.below(3)]);
        out.push_back(0);
        out.push_back(static_cast<uint8_t>(row.size()));
        out.insert(out.end(), row.begin(), row.end());
    }
}

inline void binary_rows(SplitMix64 &r, Bytes &out, size_t size) {
    uint64_t rowid = r.below(uint64_t{1} << 20);
    while (out.size() < size) {
        rowid++;
        Bytes row;
        vint(row, rowid);
        be(row, r.next(), 8);
        be(row, r.next(), 8);
        for (int i = 0; i < 4; i++) {
            const uint64_t price = kPrices[r.below(5)];
            be(row, price * (1 + r.below(4)) * 0x10000, 8);
        }
        vint(row, r.below(100));
        vint(row, r.below(20000));
        row.push_back(8);
        le(row, r.next(), 8);
        out.push_back(0x10);
        out.insert(out.end(), row.begin(), row.end());
    }
}

inline void expanded_rows(SplitMix64 &r, Bytes &out, size_t size) {
    uint64_t rowid = r.below(uint64_t{1} << 30);
    while (out.size() < size) {
        rowid++;
        std::string name = kFirst[r.below(count(kFirst))];
        name += " ";
        name += kLast[r.below(count(kLast))];
        const std::string code = "C" + std::to_string(r.below(1000));
        le(out, rowid, 8);
        le(out, 1 + r.below(50), 4);
        le(out, r.below(2), 4);
        const uint64_t price = kPrices[r.below(5)];
        le(out, price * (1 + r.below(4)), 8);
        padded(out, name, 24);
        padded(out, code, 8);
        out.insert(out.end(), 16, 0);
        le(out, 738000 + r.below(400), 4);
    }
}

inline void prose(SplitMix64 &r, Bytes &out, size_t size) {
    while (out.size() < size) {
        const uint64_t words = 5 + r.below(12);
        std::string sentence;
        for (uint64_t i = 0; i < words; i++) {
            if (i != 0) sentence += ' ';
            sentence += kWords[r.below(count(kWords))];
        }
        sentence[0] = static_cast<char>(sentence[0] >= 'a' ? sentence[0] - 32 : sentence[0]);
        sentence += ". ";
        if (r.below(6) == 0) sentence += '\n';
        out.insert(out.end(), sentence.begin(), sentence.end());
    }
}

inline void index_nodes(SplitMix64 &r, Bytes &out, size_t size) {
    uint64_t key = r.below(100000);
    uint64_t slot = r.below(uint64_t{1} << 24);
    while (out.size() < size) {
        le(out, 200, 4);
        le(out, r.below(3), 4);
        out.insert(out.end(), 8, 0);
        for (int i = 0; i < 200; i++) {
            key += 1 + r.below(9);
            slot += 1 + r.below(300);
            le(out, key, 4);
            le(out, slot, 8);
            out.insert(out.end(), 4, 0);
        }
    }
}

// Object `seed` of `family` (0 to 4, the order of kFamilies), `size` bytes.
inline Bytes object(int family, uint64_t seed, size_t size) {
    SplitMix64 r(seed * 0x100 + static_cast<uint64_t>(family));
    Bytes out;
    switch (family) {
        case 0:
            text_rows(r, out, size);
            break;
        case 1:
            binary_rows(r, out, size);
            break;
        case 2:
            expanded_rows(r, out, size);
            break;
        case 3:
            prose(r, out, size);
            break;
        default:
            index_nodes(r, out, size);
            break;
    }
    out.resize(size);
    return out;
}

inline int family_index(const std::string &name) {
    for (int i = 0; i < kFamilyCount; i++) {
        if (name == kFamilies[i]) return i;
    }
    return -1;
}

// Little-endian splitmix64 words, cut to `size`.
inline Bytes random_bytes(uint64_t seed, size_t size) {
    SplitMix64 r(seed);
    Bytes out;
    while (out.size() < size) le(out, r.next(), 8);
    out.resize(size);
    return out;
}

}  // namespace lzma_corpus

#endif
