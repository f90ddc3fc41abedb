/// The applications of a window, found without a walk.
#ifndef VESTA_LIFECYCLE_APPLICATION_REGISTER_H
#define VESTA_LIFECYCLE_APPLICATION_REGISTER_H

#include <map>
#include <vector>

namespace VestaHbbTV {

class Application;

/// Finds applications by id and by address: scripts may start tens of thousands before the first of
/// them has its tick, and each of these ticks looks its application up. Owns none of them. Browser
/// thread only.
class ApplicationRegister {
public:
    bool empty() const { return byId_.empty(); }

    /// All of them, in the order of their ids, which is that of creation.
    std::vector<Application*> list() const;

    /// The one that was created last. There must be one.
    Application* newest() const { return byId_.rbegin()->second; }

    /// @param application not null and not in the register. Where memory runs out nothing changes.
    void add(Application* application);

    /// Cannot fail. Any pointer may be given; what is not in the register is ignored.
    void remove(const Application* application);

    /// Whether it is in the register. Any pointer may be asked for.
    bool contains(const Application* application) const { return places_.count(application) != 0; }

    /// @return 0 for what is not in the register, which is not followed
    unsigned long idOf(const Application* application) const;

    /// @return null when none has this id
    Application* find(unsigned long id) const;

    /// Whoever has this application for its parent has none from now on.
    void forgetParent(const Application* parent);

private:
    /// Ids are given in creation order.
    using ById = std::multimap<unsigned long, Application*>;

    ById byId_;
    std::map<const Application*, ById::iterator> places_;
};

}  // namespace VestaHbbTV

#endif
