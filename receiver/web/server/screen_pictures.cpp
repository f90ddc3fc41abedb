#include "receiver/web/server/screen_pictures.h"

#include <utility>

namespace receiver {

namespace {

using Maker = std::function<std::string()>;

/// On a thread of GLib's pool.
void make(GTask* task, gpointer /*source*/, gpointer maker, GCancellable* /*never*/)
{
    const std::string bytes = (*static_cast<Maker*>(maker))();
    g_task_return_pointer(task, g_bytes_new(bytes.data(), bytes.size()),
                          reinterpret_cast<GDestroyNotify>(g_bytes_unref));
}

}  // namespace

ScreenPictures::~ScreenPictures()
{
    waiting_.clear();
    late_.clear();  // no further one is begun
    while (isBusy_)
        g_main_context_iteration(nullptr, TRUE);
    if (last_)
        g_bytes_unref(last_);
}

void ScreenPictures::answer(SoupServerMessage* message)
{
    if (!browser_.paints())
        return answerWithText(message, SOUP_STATUS_NOT_FOUND, "this browser paints nothing");
    const unsigned long long painting = browser_.paintings();
    if (last_ && made_ == painting)
        return give(message);
    if (isBusy_ && painting_ != painting) {
        late_.emplace_back(message);
        return;
    }
    waiting_.emplace_back(message);
    if (!isBusy_)
        begin();
}

void ScreenPictures::begin()
{
    isBusy_ = true;
    painting_ = browser_.paintings();
    const GAsyncReadyCallback made = [](GObject*, GAsyncResult* result, gpointer self) {
        GBytes* const picture =
            static_cast<GBytes*>(g_task_propagate_pointer(G_TASK(result), nullptr));
        static_cast<ScreenPictures*>(self)->end(picture);
    };
    GTask* const task = g_task_new(nullptr, nullptr, made, this);
    g_task_set_task_data(task, new Maker(browser_.takePicture()),
                         [](gpointer maker) { delete static_cast<Maker*>(maker); });
    g_task_run_in_thread(task, make);
    g_object_unref(task);
}

void ScreenPictures::end(GBytes* picture)
{
    if (last_)
        g_bytes_unref(last_);
    last_ = picture;
    made_ = painting_;
    isBusy_ = false;
    const std::vector<LateAnswer> served = std::move(waiting_);
    waiting_ = std::move(late_);
    late_.clear();
    for (const LateAnswer& each : served) {
        if (SoupServerMessage* const message = each.message())
            give(message);
    }
    if (!waiting_.empty())
        begin();
}

void ScreenPictures::give(SoupServerMessage* message) const
{
    if (g_bytes_get_size(last_) == 0)
        return answerWithText(message, SOUP_STATUS_INTERNAL_SERVER_ERROR,
                              "the picture could not be made");
    setCommonHeaders(message);
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(message);
    soup_message_headers_set_content_type(headers, "image/png", nullptr);
    soup_message_headers_replace(headers, "X-Painting", std::to_string(made_).c_str());
    // Every reader gets the same bytes.
    soup_message_body_append_bytes(soup_server_message_get_response_body(message), last_);
}

}  // namespace receiver
