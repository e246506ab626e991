// A base that somebody has forged: bytes laid over a sound one, whose pages all prove themselves. A fault is:
// any failure but a refusal by the store, records out of the order of their keys, or a base changed by
// reading it.
//
// The input is a row of patches, each: page (1 byte, beyond the end too), offset in the page (2 bytes, the
// higher first), count (1 byte), that many bytes.
#include "fuzz/target.h"
#include "platform/failures.h"
#include "store/page_guard.h"
#include "store/store.h"
#include "support/base_check.h"

#include <algorithm>
#include <cstring>

namespace {

using namespace corvalissement;

const std::string& path() {
    static const std::string file = fuzz::scratch() / "base";
    return file;
}

const std::string& sound_base() {
    static const std::string bytes = [] {
        fill_embedded_store(path(), [](Store& store) {
            for (const char* file : {"BALANCEGENE", "TEMPO"})
                for (int i = 0; i < 60; ++i) // trees of several pages, a record on pages of its own
                    store.write(store.file(file), "N0001" + std::to_string(4'010'000 + i),
                                std::string(i == 30 ? 9'000U : 150U, static_cast<char>('a' + i % 26)));
        });
        return fuzz::bytes_of(path());
    }();
    return bytes;
}

std::string forged(const std::uint8_t* data, std::size_t size) {
    std::string base = sound_base();
    for (const std::uint8_t* end = data + size; end - data > 4;) {
        const std::size_t at = data[0] % 64U * GUARDED_PAGE + (data[1] * 256U + data[2]) % GUARDED_PAGE;
        const std::size_t count = std::min<std::size_t>(data[3], static_cast<std::size_t>(end - data) - 4);
        if (base.size() < at + count)
            base.resize((at + count + GUARDED_PAGE - 1) / GUARDED_PAGE * GUARDED_PAGE);
        std::memcpy(base.data() + at, data + 4, count);
        data += 4 + count;
    }
    for (std::size_t at = 0; at < base.size(); at += GUARDED_PAGE) {
        const std::uint64_t sum =
            page_sum(reinterpret_cast<const unsigned char*>(base.data() + at), at / GUARDED_PAGE);
        std::memcpy(base.data() + at + GUARDED_PAGE - GUARD_BYTES, &sum, sizeof sum);
    }
    return base;
}

template <class Use>
void use(Use&& step) {
    try {
        const auto store = open_embedded_store(path(), OpenMode::must_exist);
        step(*store);
    } catch (const StepFailure& failure) {
        fuzz::require(failure.number() == ERR_STORE, failure.text());
    }
}

void read_all(Store& store) {
    std::vector<std::string> names = store.file_names();
    names.emplace_back("TEMPO");
    for (const std::string& name : names) {
        std::string last;
        bool first = true;
        store.scan(store.file(name), "", [&](std::string_view key, std::string_view) {
            fuzz::require(first || last < key, "keys out of order");
            first = false;
            last = key;
            return true;
        });
        std::string record;
        store.scan_keys(store.file(name), "N", [&](std::string_view key) {
            static_cast<void>(store.read(store.file(name), key, record));
            return true;
        });
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string base = forged(data, size);
    fuzz::put_bytes(path(), base);
    use(read_all);
    fuzz::require(fuzz::bytes_of(path()) == base, "reading changes the base");
    use([](Store& store) {
        Transaction whole(store);
        store.clear(store.file("TEMPO"));
        store.write(store.file("BALANCEGENE"), "N00014010005", std::string(5'000, 'n'));
        store.write(store.file("NOUVEAU"), "k", "r");
        whole.commit();
    });
    for (const char* beside : {"-wal", "-shm"})
        std::filesystem::remove(path() + beside);
    return 0;
}
