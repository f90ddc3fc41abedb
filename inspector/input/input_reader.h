/// Reads inputs of every kind into a survey.
#ifndef VESTA_INSPECTOR_INPUT_INPUT_READER_H
#define VESTA_INSPECTOR_INPUT_INPUT_READER_H

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "inspector/survey/stream_surveyor.h"
#include "inspector/survey/survey.h"
#include "receiver/stream/stream_input.h"

namespace inspector {

struct ReadingOptions {
    std::optional<uint16_t> service;  ///< nothing: all of the stream
    std::optional<double> seconds;    ///< after which reading ends; nothing: at the input's end
    bool follow = false;              ///< whether the end of a file is waited at for more
    std::string documentUrl;          ///< of XML AITs, for relative URLs; empty: not known
    /// Hears what people would like to know of an input, in a sentence; may be null.
    std::function<void(const std::string&)> remark;
};

/// One thread, but for stop().
class InputReader {
public:
    /// An input of any kind but a transport stream is no longer than this.
    static constexpr size_t longestDocument = size_t(16) << 20;

    /// @param survey borrowed for the object's life
    InputReader(Survey& survey, ReadingOptions options);

    /// Reads one input to its end.
    /// @param path a file, "-" for standard input, or an address of the network
    /// @return what is wrong, for people; empty for success
    std::string read(const std::string& path);

    /// To be called after the last input.
    void finish();

    /// Reading ends. Any thread.
    void stop();

private:
    void passRemarks(receiver::StreamInput& input) const;
    std::string readStream(receiver::StreamInput& input, const std::string& head);
    std::string readDocument(receiver::StreamInput& input, std::string bytes, bool isWhole);
    std::string takeDocument(const std::string& path, const std::string& bytes);
    void takeSections(const std::string& path, const std::string& bytes);
    bool isWanted(const SectionBytes& section) const;
    void takeXml(const std::string& path, const std::string& document);

    Survey& survey_;
    const ReadingOptions options_;
    std::unique_ptr<StreamSurveyor> surveyor_;  // null before a transport stream came
    std::atomic<bool> isStopped_{false};
    std::mutex mutex_;
    receiver::StreamInput* reading_ = nullptr;  // with mutex_
};

}  // namespace inspector

#endif
