// The making of an image from the text files of a directory.
#include "images/prepare.h"

#include <filesystem>
#include <functional>
#include <utility>

#include "base/message_log.h"
#include "base/run_end.h"
#include "base/whole_file.h"
#include "images/image_components.h"
#include "images/image_file.h"
#include "model/model_source.h"

namespace orvix::images {
namespace {

namespace fs = std::filesystem;

constexpr const char* databaseName = "orvix.tab";
constexpr const char* tripletsName = "orvix_obsCS.tab";

class Preparation {
  public:
    explicit Preparation(const std::string& tables) : tables_(tables) {}

    /// Loads a component and adds it. One whose loading speaks or fails stays text, so that every
    /// run that asks for it hears the same.
    void take(const std::string& component, const std::vector<std::string>& files,
              const std::function<void()>& load, const std::function<void()>& add) {
        std::vector<SourceRecord> stamps;
        for (const std::string& file : files) {
            const auto stamp = stampOf(tables_, file, true);
            if (!stamp) {
                result.leftOut.push_back(component + ": " + file + " is missing");
                return;
            }
            stamps.push_back(*stamp);
        }
        MessageLog log;
        try {
            const ScopedStreams streams(log.streams());
            load();
        } catch (const RunEnd& end) {
            result.leftOut.push_back(component + ": " + end.what());
            return;
        }
        if (const std::vector<Message> messages = log.take(); !messages.empty()) {
            const std::string& text = messages.front().text;
            result.leftOut.push_back(component + ": " + text.substr(0, text.find('\n')));
            return;
        }
        add();
        result.components.push_back(component);
        sources_.insert(sources_.end(), stamps.begin(), stamps.end());
    }

    std::string finish() const {
        for (const SourceRecord& source : sources_) {
            const auto now = stampOf(tables_, source.name, true);
            if (!now || !sameStamp(*now, source) || now->hash != source.hash) {
                throw RunError((fs::path(tables_) / source.name).string() +
                               ": was changed while the image was made");
            }
        }
        return writer.finish(sources_);
    }

    ImageWriter writer;
    Prepared result;

  private:
    const std::string& tables_;
    std::vector<SourceRecord> sources_;
};

}  // namespace

Prepared prepareImage(const std::string& tables, const std::string& output) {
    const TextSource text;
    Preparation preparation(tables);
    const auto pathOf = [&](const std::string& name) { return (fs::path(tables) / name).string(); };

    std::shared_ptr<const search::Database> database;
    preparation.take(
        databaseName, {databaseName}, [&] { database = text.database(pathOf(databaseName), {}); },
        [&] { addDatabase(preparation.writer, databaseName, *database); });
    database.reset();
    std::shared_ptr<const shifts::ObservedTriplets> triplets;
    preparation.take(
        tripletsName, {tripletsName},
        [&] { triplets = text.observedTriplets(pathOf(tripletsName)); },
        [&] { addTriplets(preparation.writer, tripletsName, *triplets); });
    triplets.reset();
    for (const networks::NetworkKind& kind : networks::allNetworkKinds()) {
        std::shared_ptr<const networks::NetworkWeights> weights;
        preparation.take(
            kind.name, networks::networkFiles(kind),
            [&] { weights = text.network(pathOf(kind.name), kind); },
            [&] { addNetwork(preparation.writer, kind, *weights); });
    }
    Prepared& result = preparation.result;
    if (result.components.empty()) {
        throw RunError(tables + ": holds nothing that an image could be made of");
    }
    const std::string image = preparation.finish();
    result.path = output.empty() ? pathOf(imageName) : output;
    result.bytes = image.size();
    writeWholeFile(result.path, image);
    return result;
}

}  // namespace orvix::images
