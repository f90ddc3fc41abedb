#include "receiver/stream/network_input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include "receiver/stream/network_address.h"
#include "receiver/stream/rtp_packet.h"

namespace receiver {

namespace {

// No datagram is longer.
constexpr size_t longestDatagram = 65536;

// What may come while the browser is busy: a second or so of a whole multiplex. The system may
// allow less.
constexpr int wantedBuffer = 4 << 20;

// Who reads has to know that time goes on.
constexpr std::chrono::seconds longestSilence(1);

// Taken at a time, so that a flood does not keep anybody waiting.
constexpr unsigned mostDatagrams = 64;

}  // namespace

NetworkInput::NetworkInput(const std::string& url, Clock::duration patience)
    : StreamInput(url), patience_(patience), datagram_(longestDatagram),
      reorder_([this](const unsigned char* payload, size_t size) { append(payload, size); })
{
}

NetworkInput::~NetworkInput()
{
    if (socket_ >= 0)
        ::close(socket_);
}

std::string NetworkInput::open()
{
    if (std::string problem = openSocket(); !problem.empty())
        return problem;
    const std::optional<NetworkAddress> address = NetworkAddress::ofSocket(socket_);
    if (!address || !wait_.open())
        return path_ + ": " + std::strerror(errno);
    port_ = address->port();
    heardAt_ = Clock::now();
    remarks_.push_back({"listening", "listening to " + address->text()});
    return "";
}

std::string NetworkInput::openSocket()
{
    std::string problem;
    const auto address = NetworkAddress::fromUrl(path_, problem);
    if (!address)
        return problem;
    socket_ = ::socket(address->family(), SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ < 0)
        return path_ + ": " + std::strerror(errno);
    // As much of it as there may be.
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &wantedBuffer, sizeof(wantedBuffer));
    const int on = 1;
    ::setsockopt(socket_, SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof(on));
    problem = address->listen(socket_);
    return problem.empty() ? "" : path_ + ": " + problem;
}

std::optional<size_t> NetworkInput::read(unsigned char* buffer, size_t size)
{
    if (readyAt_ == ready_.size())
        collect(size);
    if (readyAt_ < ready_.size())
        return takeReady(buffer, size);
    return error_.empty() ? std::nullopt : std::optional<size_t>(0);
}

/// Waits for datagrams and takes what has come, until it is enough.
void NetworkInput::collect(size_t enough)
{
    ready_.clear();
    readyAt_ = 0;
    const Clock::time_point before = Clock::now();
    const Clock::duration most = longestWait(before).value_or(longestSilence);
    const ByteWait::End end = wait_.wait(socket_, std::min<Clock::duration>(most, longestSilence));
    const Clock::time_point now = Clock::now();
    if (end == ByteWait::End::Ready) {
        unsigned taken = 0;
        while (taken < mostDatagrams && ready_.size() < enough && receive(now))
            ++taken;
    }
    reorder_.giveUpGaps(now);
    noteSilence(now);
}

/// @return false when there is nothing more for now
bool NetworkInput::receive(Clock::time_point now)
{
    iovec part = {datagram_.data(), datagram_.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(uint32_t))];
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    const ssize_t size = ::recvmsg(socket_, &message, 0);
    if (size < 0) {
        if (errno != EAGAIN && errno != EINTR)
            error_ = path_ + ": " + std::strerror(errno);
        return false;
    }
    noteOverflows(message);
    noteSound(now);
    takeDatagram(static_cast<size_t>(size), now);
    return true;
}

void NetworkInput::noteOverflows(msghdr& message)
{
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SO_RXQ_OVFL)
            continue;
        uint32_t all = 0;
        std::memcpy(&all, CMSG_DATA(part), sizeof(all));
        statistics_.overflows += static_cast<uint32_t>(all - overflowsOfSocket_);
        overflowsOfSocket_ = all;
    }
}

void NetworkInput::takeDatagram(size_t size, Clock::time_point now)
{
    ++statistics_.datagrams;
    if (!isRtp(datagram_.data(), size))
        return append(datagram_.data(), size);
    ++statistics_.rtpPackets;
    if (const auto packet = readRtpPacket(datagram_.data(), size))
        reorder_.add(*packet, now);
    else
        ++statistics_.damaged;
}

void NetworkInput::append(const unsigned char* bytes, size_t count)
{
    ready_.insert(ready_.end(), bytes, bytes + count);
}

void NetworkInput::noteSound(Clock::time_point now)
{
    heardAt_ = now;
    if (isSilent_)
        remarks_.push_back({"heard-again", path_ + " is heard"});
    isSilent_ = false;
}

void NetworkInput::noteSilence(Clock::time_point now)
{
    if (isSilent_ || now - heardAt_ < patience_)
        return;
    isSilent_ = true;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(patience_).count();
    remarks_.push_back(
        {"silent", "nothing came from " + path_ + " for " + std::to_string(seconds) + " seconds"});
}

/// Until somebody has something to say or to hand on; nothing: for ever.
std::optional<NetworkInput::Clock::duration> NetworkInput::longestWait(Clock::time_point now) const
{
    std::optional<Clock::time_point> end = reorder_.due();
    if (!isSilent_)
        end = std::min(end.value_or(heardAt_ + patience_), heardAt_ + patience_);
    return end ? std::optional(*end - now) : std::nullopt;
}

size_t NetworkInput::takeReady(unsigned char* buffer, size_t size)
{
    const size_t count = std::min(size, ready_.size() - readyAt_);
    std::copy_n(ready_.data() + readyAt_, count, buffer);
    readyAt_ += count;
    bytesRead_ += count;
    return count;
}

std::optional<NetworkStatistics> NetworkInput::networkStatistics() const
{
    NetworkStatistics all = statistics_;
    const RtpReorder::Statistics& order = reorder_.statistics();
    all.lost = order.lost;
    all.reordered = order.reordered;
    all.duplicates = order.duplicates;
    all.late = order.late;
    return all;
}

}  // namespace receiver
