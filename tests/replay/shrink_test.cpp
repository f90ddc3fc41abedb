#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

#include "replay/player.h"
#include "replay/progress.h"
#include "replay/shrink.h"

namespace replay {
namespace {

std::vector<Piece> piecesUpTo(size_t count)
{
    std::vector<Piece> pieces;
    for (size_t place = 0; place < count; ++place)
        pieces.push_back({place, place + 1});
    return pieces;
}

std::set<size_t> placesOf(const std::vector<Piece>& pieces)
{
    std::set<size_t> places;
    for (const Piece& piece : pieces)
        places.insert(piece.begin);
    return places;
}

TEST(Shrink, KeepsWhatItTakesAndNothingElse)
{
    const std::set<size_t> wanted[] = {{0}, {99}, {3, 4}, {0, 50, 99}, {10, 11, 12, 13, 90}};
    for (const std::set<size_t>& needed : wanted) {
        int tries = 0;
        const auto fails = [&](const std::vector<Piece>& pieces) {
            tries++;
            const std::set<size_t> places = placesOf(pieces);
            return std::includes(places.begin(), places.end(), needed.begin(), needed.end());
        };
        EXPECT_EQ(placesOf(shrink(piecesUpTo(100), fails)), needed);
        EXPECT_LT(tries, 400);
    }
}

/// Whether a part has all of them, or none.
bool goTogether(const std::set<size_t>& places, const std::set<size_t>& group)
{
    const auto count = static_cast<size_t>(std::count_if(
        group.begin(), group.end(), [&](size_t place) { return places.count(place) > 0; }));
    return count == 0 || count == group.size();
}

TEST(Shrink, LeavesOutNeighboursThatGoTogetherWhereverTheyStand)
{
    const auto fails = [](const std::vector<Piece>& pieces) {
        const std::set<size_t> places = placesOf(pieces);
        return places.count(0) && places.count(99) && goTogether(places, {7, 8, 9}) &&
               goTogether(places, {13, 14}) && goTogether(places, {33, 34, 35, 36, 37});
    };
    EXPECT_EQ(placesOf(shrink(piecesUpTo(100), fails)), (std::set<size_t>{0, 99}));
}

TEST(Shrink, LeavesOutPairsThatGoTogether)
{
    const auto fails = [](const std::vector<Piece>& pieces) {
        const std::set<size_t> places = placesOf(pieces);
        return places.count(9) && places.count(50) && goTogether(places, {7, 60}) &&
               goTogether(places, {3, 71});
    };
    EXPECT_EQ(placesOf(shrink(piecesUpTo(100), fails)), (std::set<size_t>{9, 50}));
}

TEST(Shrink, KeepsOnePieceAtLeast)
{
    const auto always = [](const std::vector<Piece>&) { return true; };
    EXPECT_EQ(shrink(piecesUpTo(7), always).size(), 1u);
    EXPECT_EQ(shrink(piecesUpTo(1), always).size(), 1u);
    EXPECT_TRUE(shrink({}, always).empty());
}

TEST(Shrink, LeavesEverythingWhereEverythingIsNeeded)
{
    const auto whole = [](const std::vector<Piece>& pieces) { return pieces.size() == 9; };
    EXPECT_EQ(shrink(piecesUpTo(9), whole).size(), 9u);
}

TEST(AnotherProcess, TellsHowItFailed)
{
    EXPECT_EQ(tryInAnotherProcess([] {}).failure, "");
    EXPECT_EQ(tryInAnotherProcess([] {
                  progress->begin(1, true, "vesta_hbbtv_tick");
                  progress->begin(2, false, "ve_open_url");
                  progress->line = 7;
                  raise(SIGKILL);
              }).failure,
              "signal 9 inside ve_open_url");
    const Trial trial = tryInAnotherProcess([] {
        progress->code = exitDifferent;
        progress->line = 7;
        progress->signature[0] = 'x';
        _exit(exitDifferent);
    });
    EXPECT_EQ(trial.failure, "difference inside x");
    EXPECT_EQ(trial.line, 7u);
    EXPECT_EQ(tryInAnotherProcess([] {
                  progress->signature[0] = 'x';
                  _exit(exitSame);
              }).failure,
              "the record ends inside x");
    EXPECT_EQ(tryInAnotherProcess([] {
                  progress->code = exitUnreadable;
                  _exit(exitUnreadable);
              }).failure,
              "");
}

}  // namespace
}  // namespace replay
