// What asking for the references of a file that is up to date takes in the process, beside the
// system calls and database reads that it needs:
//
//   bench_lookup PROJECT [options of Google Benchmark]
//
// The project has been scanned. Asked about are files of five references, in random order, or of as
// many as come nearest to that.

#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench/Lmdb.h"
#include "vexa/common/InterfaceBox.h"
#include "vexa/db/Transaction.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/RecordId.h"

namespace bench {

namespace {

using namespace vexa::vxdependency;
using List = std::vector<std::string>;

constexpr int kReferences = 5;

// As many in trees of every size, so that the processor's caches are not what makes a difference.
constexpr std::size_t kMostFiles = 800;

// What one lookup asks of the system, made beforehand.
struct Question {
    std::string key;
    std::string path;
    RecordId stamp;
    std::string catalogueKey;
    RecordId list;
    std::size_t references;
};

using KeysByReferences = std::map<int, std::vector<std::string>>;

// The files that are known, but those without references.
KeysByReferences KnownFiles() {
    KeysByReferences keys;
    GeneralDependency::Instance()->ForEachFile(
        "", [&keys](std::string_view key, const CatalogueEntry& entry) {
            if (entry.references > 0) keys[static_cast<int>(entry.references)].emplace_back(key);
            return true;
        });
    return keys;
}

std::vector<Question> Questions() {
    KeysByReferences files = KnownFiles();
    const auto nearest = std::ranges::min_element(
        files, {}, [](const auto& some) { return std::abs(some.first - kReferences); });
    if (nearest == files.end()) return {};
    auto& [references, keys] = *nearest;
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    keys.resize(std::min(keys.size(), kMostFiles));
    std::vector<Question> questions;
    for (const std::string& key : keys) {
        const std::string path = vexa::InterfaceBox::Instance().GetFileService().AbsolutePath(key);
        questions.push_back({key, path, IdOf(StampText(path)), Catalogue::FileRecordKey(key),
                             ForwardId(key), static_cast<std::size_t>(references)});
    }
    return questions;
}

// The same reads, one by one, through a transaction of its own that is renewed for each lookup.
class PlainReader {
public:
    PlainReader() {
        vexa::VXDatabase& database = GeneralDependency::Instance()->Database();
        MDB_txn* const handle = database.TransBeginRead();
        MDB_env* const environment = mdb_txn_env(vexa::TransactionUse(handle).Handle());
        database.TransAbort(handle);
        Check(mdb_txn_begin(environment, nullptr, MDB_RDONLY, &m_transaction), "mdb_txn_begin");
        Check(mdb_dbi_open(m_transaction, kTables[0], 0, &m_dependency), kTables[0]);
        Check(mdb_dbi_open(m_transaction, kTables[1], 0, &m_catalogue), kTables[1]);
        mdb_txn_reset(m_transaction);
    }
    ~PlainReader() { mdb_txn_abort(m_transaction); }
    PlainReader(const PlainReader&) = delete;
    PlainReader& operator=(const PlainReader&) = delete;

    List Answer(const Question& question) {
        struct stat state;
        Look(question, state);
        Check(mdb_txn_renew(m_transaction), "mdb_txn_renew");
        benchmark::DoNotOptimize(state);
        benchmark::DoNotOptimize(Read(m_dependency, IdBytes(question.stamp)));
        benchmark::DoNotOptimize(Read(m_catalogue, question.catalogueKey));
        List list = Split(Read(m_dependency, IdBytes(question.list)));
        mdb_txn_reset(m_transaction);
        return list;
    }

    // Whether no other text shares one of its records: then they would not be what they seem.
    bool IsAlone(const Question& question) {
        struct stat state;
        Look(question, state);
        Check(mdb_txn_renew(m_transaction), "mdb_txn_renew");
        const std::string_view stamp = Read(m_dependency, IdBytes(question.stamp));
        const std::int64_t seconds = state.st_mtime;
        const bool alone =
            stamp == std::string_view(reinterpret_cast<const char*>(&seconds), sizeof seconds) &&
            Split(Read(m_dependency, IdBytes(question.list))).size() == question.references;
        mdb_txn_reset(m_transaction);
        return alone;
    }

private:
    static void Look(const Question& question, struct stat& state) {
        if (stat(question.path.c_str(), &state) == 0) return;
        std::perror(question.path.c_str());
        std::exit(1);
    }

    static std::string_view IdBytes(const RecordId& id) {
        return {reinterpret_cast<const char*>(&id), sizeof id};
    }

    std::string_view Read(MDB_dbi table, std::string_view keyText) {
        MDB_val key = ValueOf(keyText);
        MDB_val value;
        Check(mdb_get(m_transaction, table, &key, &value), "mdb_get");
        return TextOf(value);
    }

    static List Split(std::string_view text) {
        List list;
        list.reserve(kReferences);
        for (std::size_t end = 0; (end = text.find('#')) != std::string_view::npos;) {
            list.emplace_back(text.substr(0, end));
            text.remove_prefix(end + 1);
        }
        return list;
    }

    MDB_txn* m_transaction = nullptr;
    MDB_dbi m_dependency = 0;
    MDB_dbi m_catalogue = 0;
};

template <class Ask>
void Run(benchmark::State& state, const std::vector<Question>& questions, Ask ask) {
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ask(questions[next]));
        if (++next == questions.size()) next = 0;
    }
    state.counters["files"] = static_cast<double>(questions.size());
}

// False when the two do not tell the same of every file.
bool Register(const std::vector<Question>& questions, PlainReader& reader) {
    const auto ours = [](const Question& question) {
        return vexa::CDependencyManager::GetSingleton().GetDependency(question.key, false);
    };
    const auto plain = [&reader](const Question& question) { return reader.Answer(question); };
    for (const Question& question : questions) {
        if (ours(question) == plain(question)) continue;
        std::fprintf(stderr, "%s: another list\n", question.key.c_str());
        return false;
    }
    benchmark::RegisterBenchmark("GetDependency", [&questions, ours](benchmark::State& state) {
        Run(state, questions, ours);
    });
    benchmark::RegisterBenchmark(
        "Plain", [&questions, plain](benchmark::State& state) { Run(state, questions, plain); });
    return true;
}

}  // namespace

}  // namespace bench

int main(int count, char** arguments) {
    if (count < 2 || chdir(arguments[1]) != 0) {
        std::fputs("usage: bench_lookup PROJECT [options of Google Benchmark]\n", stderr);
        return 2;
    }
    arguments[1] = arguments[0];
    --count;
    ++arguments;
    benchmark::Initialize(&count, arguments);
    vexa::CDependencyManager& manager = vexa::CDependencyManager::GetSingleton();
    std::vector<bench::Question> questions = bench::Questions();
    if (!manager.GetScanner() || questions.empty()) {
        std::fputs("bench_lookup: no project that has been scanned, or none with references\n",
                   stderr);
        return 1;
    }
    bench::PlainReader reader;
    std::erase_if(questions, [&](const auto& question) { return !reader.IsAlone(question); });
    if (!bench::Register(questions, reader)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
