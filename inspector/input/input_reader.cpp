#include "inspector/input/input_reader.h"

#include <chrono>
#include <condition_variable>
#include <thread>
#include <utility>

#include "inspector/decode/tables.h"
#include "inspector/input/hexadecimal_text.h"
#include "inspector/input/input_kind.h"
#include "inspector/input/xml_tree.h"
#include "kit/xml_ait_document.h"

namespace inspector {

namespace {

using receiver::StreamInput;

constexpr size_t chunkBytes = size_t(512) * 188;
constexpr unsigned char stuffingByte = 0xFF;

/// Calls a function after so many seconds, unless it goes before.
class Timer {
public:
    template <typename Function>
    Timer(double seconds, Function function)
        : thread_([this, seconds, function] {
              std::unique_lock<std::mutex> lock(mutex_);
              if (!wake_.wait_for(lock, std::chrono::duration<double>(seconds),
                                  [this] { return isOver_; }))
                  function();
          })
    {
    }
    ~Timer()
    {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            isOver_ = true;
        }
        wake_.notify_all();
        thread_.join();
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    bool isOver_ = false;
    std::thread thread_;
};

/// Reads until there are so many bytes, or the input ends. @return whether it has ended
bool readUpTo(StreamInput& input, size_t wanted, std::string& bytes,
              const std::atomic<bool>& isStopped)
{
    std::string chunk(chunkBytes, '\0');
    while (bytes.size() < wanted && !isStopped) {
        const auto count = input.read(reinterpret_cast<unsigned char*>(chunk.data()), chunk.size());
        if (count && *count == 0)
            return true;
        bytes.append(chunk, 0, count.value_or(0));
    }
    return false;
}

}  // namespace

InputReader::InputReader(Survey& survey, ReadingOptions options)
    : survey_(survey), options_(std::move(options))
{
}

std::string InputReader::read(const std::string& path)
{
    const std::unique_ptr<StreamInput> input = receiver::makeStreamInput(path, options_.follow);
    if (std::string problem = input->open(); !problem.empty())
        return problem;
    passRemarks(*input);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        reading_ = input.get();
    }
    std::optional<Timer> timer;
    if (options_.seconds)
        timer.emplace(*options_.seconds, [this] { stop(); });
    std::string head;
    const bool isNetwork = receiver::isNetworkInput(path);
    const bool isWhole = !isNetwork && readUpTo(*input, decidingBytes, head, isStopped_);
    const InputKind kind = isNetwork ? InputKind::TransportStream : kindOf(head, isWhole);
    survey_.inputs.push_back({path, nameOf(kind)});
    std::string problem = input->error();
    if (problem.empty() && isWhole && head.empty())
        problem = path + ": is empty";
    if (problem.empty())
        problem = kind == InputKind::TransportStream
                      ? readStream(*input, head)
                      : readDocument(*input, std::move(head), isWhole);
    timer.reset();
    const std::lock_guard<std::mutex> lock(mutex_);
    reading_ = nullptr;
    return problem;
}

void InputReader::stop()
{
    isStopped_ = true;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (reading_)
        reading_->wake();
}

void InputReader::passRemarks(StreamInput& input) const
{
    for (const StreamInput::Remark& remark : input.takeRemarks()) {
        if (options_.remark)
            options_.remark(remark.text);
    }
}

std::string InputReader::readStream(StreamInput& input, const std::string& head)
{
    if (surveyor_)
        return input.path() + ": one transport stream at a time";
    surveyor_ = std::make_unique<StreamSurveyor>(survey_, options_.service);
    std::string noStream = input.path() + ": not a transport stream, nor sections, "
                                          "hexadecimal text or an XML AIT";
    std::vector<unsigned char> chunk(head.begin(), head.end());
    std::optional<size_t> count = chunk.size();
    chunk.resize(chunkBytes);
    while (!isStopped_) {
        if (count && !surveyor_->feed(chunk.data(), *count))
            return noStream;
        count = input.read(chunk.data(), chunk.size());
        if (count && *count == 0)
            break;
        passRemarks(input);
        if (input.takeNewBeginning())
            surveyor_->restart();
    }
    if (!input.error().empty())
        return input.error();
    return surveyor_->finish() ? "" : noStream;
}

std::string InputReader::readDocument(StreamInput& input, std::string bytes, bool isWhole)
{
    if (!isWhole && !readUpTo(input, longestDocument, bytes, isStopped_) && !isStopped_)
        return input.path() + ": longer than " + std::to_string(longestDocument) + " bytes";
    if (!input.error().empty())
        return input.error();
    return takeDocument(input.path(), bytes);
}

std::string InputReader::takeDocument(const std::string& path, const std::string& bytes)
{
    switch (
        kindOf(std::string_view(bytes).substr(0, decidingBytes), bytes.size() <= decidingBytes)) {
    case InputKind::Xml:
        takeXml(path, bytes);
        return "";
    case InputKind::HexadecimalText: {
        const std::optional<std::string> sections = bytesOfHexadecimalText(bytes);
        if (!sections)
            return path + ": not hexadecimal text to its end";
        takeSections(path, *sections);
        return "";
    }
    default:
        takeSections(path, bytes);
        return "";
    }
}

/// Not the PMT of another service than the one that is looked at.
bool InputReader::isWanted(const SectionBytes& section) const
{
    return !options_.service || section[0] != pmtTable ||
           receiver::readSectionHeader(section).tableIdExtension == *options_.service;
}

void InputReader::takeSections(const std::string& path, const std::string& bytes)
{
    const SectionSource source(std::nullopt, path);
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    for (size_t at = 0; at < bytes.size();) {
        if (data[at] == stuffingByte) {
            ++at;
            continue;
        }
        const size_t size = VestaHbbTV::sectionSize(data + at, bytes.size() - at);
        const size_t taken = size == 0 ? bytes.size() - at : size;
        const SectionBytes section(data + at, data + at + taken);
        if (size == 0)
            survey_.refuse({source,
                            {{HBBTV_KIT_SECTION_INCOMPLETE, 1, 0}, std::nullopt},
                            section[0],
                            std::nullopt});
        else if (isWanted(section))
            survey_.take(source, section, std::nullopt);
        else
            ++survey_.pmtsNotWanted;
        at += taken;
    }
}

void InputReader::takeXml(const std::string& path, const std::string& document)
{
    XmlTable table;
    table.path = path;
    VestaHbbTV::XMLFault fault;
    const auto ait = VestaHbbTV::readXMLAIT(document, options_.documentUrl, fault, &table.notes);
    table.status = fault.getStatus();
    table.line = fault.getPlace().line;
    table.column = fault.getPlace().column;
    table.text = fault.getText();
    if (ait)
        table.tree = treeOf(*ait);
    survey_.xmlTables.push_back(std::move(table));
}

void InputReader::finish()
{
    survey_.finish(std::nullopt);
}

}  // namespace inspector
