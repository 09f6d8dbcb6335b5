// Two components that meet on a link: one publishes a value, the other hears of it in its cycle.
#include <iostream>
#include <memory>

#include "gnss/platform/Link.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Root.h"

const Corvane::Type Depth("Depth");

struct Sounder : Corvane::Component {
    Sounder() : Component(Corvane::Ident("Sounder"), 100), depth(*this, Depth) {}
    Corvane::ManagedLink<double> depth;  // metres
};

struct Display : Corvane::Component {
    Display() : Component(Corvane::Ident("Display"), 100), depth(*this, Depth, &Display::OnDepth) {}
    void OnDepth(const double& metres) { std::cout << "depth " << metres << " m\n"; }
    Corvane::Response<double> depth;
};

int main() {
    Corvane::Root root;
    const auto sounder = std::make_shared<Sounder>();
    root.Join(sounder);
    sounder->depth.Publish(12.5);
    root.Join(std::make_shared<Display>());  // comes late, and still hears of the value of now
    sounder->depth.Publish(12.75);
    root.CycleAll();
}
