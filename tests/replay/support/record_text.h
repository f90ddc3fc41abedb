/// Writes records by hand.
#ifndef VESTA_TESTS_REPLAY_SUPPORT_RECORD_TEXT_H
#define VESTA_TESTS_REPLAY_SUPPORT_RECORD_TEXT_H

#include <string>
#include <vector>

class RecordText {
public:
    explicit RecordText(const std::string& leftOut = "")
    {
        line(R"({"vesta_recording":1,"pointer_bits":64,"left_out":[)" + leftOut + "]}");
    }

    RecordText& line(const std::string& json)
    {
        text_ += json + "\n";
        return *this;
    }

    RecordText& in(const std::string& function, const std::string& with = "{}")
    {
        return begin("in", function, with);
    }

    RecordText& out(const std::string& function, const std::string& with = "{}")
    {
        return begin("out", function, with);
    }

    /// The end of the innermost call.
    RecordText& end(const std::string& gave = "{}")
    {
        line(R"({"end":)" + std::to_string(open_.back()) + R"(,"gave":)" + gave + "}");
        open_.pop_back();
        return *this;
    }

    RecordText& threw()
    {
        line(R"({"end":)" + std::to_string(open_.back()) + R"(,"threw":true})");
        open_.pop_back();
        return *this;
    }

    /// What the library does in vesta_hbbtv_init().
    RecordText& init()
    {
        in("vesta_hbbtv_init", R"({"browser":"browser:1"})");
        out("hbbtv_keyset_get_supported_values").end(R"({"result":1023})");
        out("hbbtv_ait_start").end();
        out("dsmcc_start").end();
        return end();
    }

    /// One tick that runs an event and calls nothing.
    RecordText& tick() { return in("vesta_hbbtv_tick").end(R"({"result":true})"); }

    /// A question to small_library.cpp.
    RecordText& ask(const std::string& what, const std::string& answer = "true")
    {
        return in("vesta_hbbtv_is_within_boundaries", R"({"window":null,"url":")" + what + "\"}")
            .end(R"({"result":)" + answer + "}");
    }

    const std::string& text() const { return text_; }

private:
    RecordText& begin(const char* direction, const std::string& function, const std::string& with)
    {
        open_.push_back(++step_);
        return line(R"({"n":)" + std::to_string(step_) + R"(,"at":)" + std::to_string(step_ * 7) +
                    R"(,"thread":1,")" + direction + R"(":")" + function + R"(","with":)" + with +
                    "}");
    }

    std::string text_;
    std::vector<int> open_;
    int step_ = 0;
};

#endif
