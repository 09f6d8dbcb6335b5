// A store takes a record from a link and offers a calculator: a handle, good for as long as the store works.
#include <iostream>
#include <memory>

#include "gnss/platform/Root.h"
#include "gnss/store/GNSSLink.h"
#include "gnss/store/GPSEphemStore.h"

struct Receiver : Corvane::Component {
    Receiver() : Component(Corvane::Ident("Receiver"), 100) {}
    void OnCalc(const GNSS::GPSEphemerisCalc& offered) { calc = offered; }
    GNSS::GPSEphemerisCalc calc;
    Corvane::Link<GNSS::GPSEphemeride> records{*this, GNSS::GNSSLink::GPSEphemerideType};
    Corvane::Response<GNSS::GPSEphemerisCalc> calcs{*this, GNSS::GNSSLink::GPSEphemerisCalcType, &Receiver::OnCalc};
};

int main() {
    Corvane::Root root;
    root.Join(GNSS::GPSEphemStore::TheFactory.CreateComponent());
    const auto receiver = std::make_shared<Receiver>();
    root.Join(receiver);
    GNSS::GPSEphemeride record;
    record.prn = 5;
    record.reference.SetTo(1525, 299715.0);
    record.posn.toe = record.clock.toc = 299715.0;
    record.posn.sqrtA = 5153.65;
    receiver->records.Send(record);
    root.CycleAll();
    GNSS::GPSEphemeride::Result result;
    if (!receiver->calc.CalculateHealthyPosn(5, record.reference, result)) return 1;
    std::cout << result.posn.Radius() / 1000 << " km from the earth's centre\n";
}
