#include "receiver/wpe/load_stream.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace {

enum class End { None, Finished, Failed };

/// What stands in a stream beside GLib's part of it.
struct Content {
    std::string bytes;
    size_t taken = 0;
    End end = End::None;
    GTask* reading = nullptr;  // waits for bytes; owned
    void* buffer = nullptr;    // of that read
    size_t room = 0;
    std::function<void()> stopped;
    GCancellable* watched = nullptr;
    gulong handler = 0;
};

struct LoadStream {
    GInputStream parent;
    Content* content;
};

struct LoadStreamClass {
    GInputStreamClass parent;
};

G_DEFINE_TYPE(LoadStream, vesta_load_stream, G_TYPE_INPUT_STREAM)

Content& contentOf(gpointer stream)
{
    return *static_cast<LoadStream*>(stream)->content;
}

void stop(Content& content)
{
    if (const auto stopped = std::exchange(content.stopped, nullptr))
        stopped();
}

/// @return whether there is an answer to a read now
bool canAnswer(const Content& content)
{
    return content.taken < content.bytes.size() || content.end != End::None;
}

void answer(Content& content, GTask* task, void* buffer, size_t room)
{
    const size_t count = std::min(room, content.bytes.size() - content.taken);
    if (count == 0 && content.end == End::Failed) {
        g_task_return_new_error(task, G_IO_ERROR, G_IO_ERROR_FAILED, "the file cannot be read");
        return;
    }
    std::memcpy(buffer, content.bytes.data() + content.taken, count);
    content.taken += count;
    if (content.taken == content.bytes.size()) {
        content.bytes.clear();
        content.taken = 0;
    }
    g_task_return_int(task, static_cast<gssize>(count));
}

void answerWaiting(Content& content)
{
    if (!content.reading || !canAnswer(content))
        return;
    GTask* const task = std::exchange(content.reading, nullptr);
    answer(content, task, content.buffer, content.room);
    g_object_unref(task);
}

void cancelled(GCancellable* /*cancellable*/, gpointer stream)
{
    Content& content = contentOf(stream);
    if (GTask* const task = std::exchange(content.reading, nullptr)) {
        g_task_return_new_error(task, G_IO_ERROR, G_IO_ERROR_CANCELLED, "cancelled");
        g_object_unref(task);
    }
    stop(content);
}

/// Every read of a stream comes with the same cancellable.
void watch(LoadStream* stream, GCancellable* cancellable)
{
    Content& content = contentOf(stream);
    if (content.watched || !cancellable)
        return;
    content.watched = G_CANCELLABLE(g_object_ref(cancellable));
    content.handler = g_signal_connect(cancellable, "cancelled", G_CALLBACK(cancelled), stream);
}

void readAsync(GInputStream* stream, void* buffer, gsize room, int /*priority*/,
               GCancellable* cancellable, GAsyncReadyCallback done, gpointer data)
{
    Content& content = contentOf(stream);
    GTask* const task = g_task_new(stream, cancellable, done, data);
    g_task_set_check_cancellable(task, FALSE);
    watch(reinterpret_cast<LoadStream*>(stream), cancellable);
    if (canAnswer(content)) {
        answer(content, task, buffer, room);
        g_object_unref(task);
        return;
    }
    content.reading = task;
    content.buffer = buffer;
    content.room = room;
}

gssize readFinish(GInputStream* /*stream*/, GAsyncResult* result, GError** error)
{
    return g_task_propagate_int(G_TASK(result), error);
}

gssize readNow(GInputStream* stream, void* buffer, gsize room, GCancellable* /*cancellable*/,
               GError** error)
{
    Content& content = contentOf(stream);
    const size_t count = std::min(room, content.bytes.size() - content.taken);
    if (count == 0 && content.end != End::Finished) {
        g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_FAILED, "nothing can be read");
        return -1;
    }
    std::memcpy(buffer, content.bytes.data() + content.taken, count);
    content.taken += count;
    return static_cast<gssize>(count);
}

void closeAsync(GInputStream* stream, int /*priority*/, GCancellable* cancellable,
                GAsyncReadyCallback done, gpointer data)
{
    GTask* const task = g_task_new(stream, cancellable, done, data);
    g_task_return_boolean(task, TRUE);
    g_object_unref(task);
}

gboolean closeFinish(GInputStream* /*stream*/, GAsyncResult* result, GError** error)
{
    return g_task_propagate_boolean(G_TASK(result), error);
}

void finalize(GObject* object)
{
    Content* const content = std::exchange(reinterpret_cast<LoadStream*>(object)->content, nullptr);
    if (content->watched) {
        g_cancellable_disconnect(content->watched, content->handler);
        g_object_unref(content->watched);
    }
    stop(*content);
    delete content;
    G_OBJECT_CLASS(vesta_load_stream_parent_class)->finalize(object);
}

void vesta_load_stream_init(LoadStream* stream)
{
    stream->content = new Content;
}

void vesta_load_stream_class_init(LoadStreamClass* type)
{
    type->parent.read_async = readAsync;
    type->parent.read_finish = readFinish;
    type->parent.read_fn = readNow;
    type->parent.close_async = closeAsync;
    type->parent.close_finish = closeFinish;
    G_OBJECT_CLASS(type)->finalize = finalize;
}

void end(GInputStream* stream, End how)
{
    Content& content = contentOf(stream);
    content.end = how;
    content.stopped = nullptr;
    answerWaiting(content);
}

}  // namespace

namespace receiver {

GInputStream* newLoadStream(std::function<void()> stopped)
{
    auto* const stream =
        static_cast<GInputStream*>(g_object_new(vesta_load_stream_get_type(), nullptr));
    contentOf(stream).stopped = std::move(stopped);
    return stream;
}

void writeTo(GInputStream* stream, const char* bytes, size_t count)
{
    Content& content = contentOf(stream);
    content.bytes.append(bytes, count);
    answerWaiting(content);
}

void finish(GInputStream* stream)
{
    end(stream, End::Finished);
}

void fail(GInputStream* stream)
{
    end(stream, End::Failed);
}

void forgetStopped(GInputStream* stream)
{
    contentOf(stream).stopped = nullptr;
}

}  // namespace receiver
