#pragma once

#include <client/Policy.h>
#include <client/Window.h>

namespace LpmClient {

/** What a window policy weighs. */
struct WindowWeights {
    /** Most partitions that are cut anew together. */
    U32 pieces = 4;
    /** Neighbours tried at each size of the window. */
    U32 neighbours = 6;
    /** Parts in a thousand of a bucket that stay free in every piece that is cut. */
    U32 slack = 110;
    /** What a bucket more costs, in hundredths of its bound, weighed against moved routes. */
    U32 bucketPrice = 400;
    /** What a cut is worth that leaves pieces emptier, in hundredths: see `worth`. */
    U32 balance = 0;
    /** Most routes moved for each bucket that a withdrawal may save, in hundredths of its bound. */
    U32 mergePrice = 50;
};

/**
 * Cuts a few neighbouring partitions anew as one tree, so that another bucket is taken only where
 * none of them can be spared. Windows grow from the full partition by one neighbour at a time; in
 * each, cuts of several limits are tried, with and without the present roots, and the cheapest
 * wins: moved routes, and a price for a bucket more.
 */
class WindowPolicy : public Policy {
public:
    /** One set of weights for all of its life; memory grows with the windows tried. */
    explicit WindowPolicy(WindowWeights const& weights) : weights_(weights) {}

    std::optional<Cut> makeRoom(ClientTrie& trie, RouteNode* root, RouteNode* incoming,
                                Room const& room) override;
    std::optional<Cut> shrink(ClientTrie& trie, RouteNode* root, Room const& room) override;

private:
    struct Choice {
        std::vector<RouteNode*> roots;
        Cut cut;
        double cost = 0;
        bool found = false;
    };
    /** What cuts are tried and how they are judged. */
    struct Aim {
        U32 limit = 0;           // routes of a piece
        U32 bound = 0;           // routes of a bucket
        std::size_t growth = 0;  // pieces more than now, at most
        bool save = false;       // only cuts with fewer pieces
        U32 freshBuckets = 0;    // as many there are
        RouteNode const* incoming = nullptr;
        U32 balance = 0;         // see WindowWeights
        double worthBefore = 0;  // of the window's pieces as they are
    };

    Choice search(RouteNode* root, Aim const& aim);
    Choice tryWindow(std::vector<RouteNode*> roots, Aim aim);
    double worth(std::vector<U32> const& sizes, Aim const& aim) const;
    void consider(Window const& window, Aim const& aim, Choice& best);
    std::vector<RouteNode*> neighboursOf(std::vector<RouteNode*> const& roots) const;
    void noteArrival(RouteNode const* incoming);

    WindowWeights const weights_;
    Cutter cutter_;
    Trial trial_;
    U32 mark_ = 0;
    Nimbal::IpGenPrefix last_;
    U32 ascending_ = 0;  // of the last overflows, weighted: 1024 when all came in address order
};

}  // namespace LpmClient
