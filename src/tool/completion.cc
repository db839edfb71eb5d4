#include "tool/completion.h"

#include <algorithm>
#include <exception>
#include <set>

#include "cim/schema.h"
#include "pci/address.h"
#include "pci/host.h"
#include "tool/class_names.h"
#include "tool/inventory/column.h"
#include "tool/inventory/difference.h"
#include "tool/pci_class.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

void Add(Offers& offers, const std::set<std::string>& words) {
  for (const std::string& word : words) offers.words.push_back({word});
}

void AddClasses(Offers& offers, bool associations) {
  for (const cim::schema::Class* cls : ServedClasses()) {
    if (cls->association != associations) continue;
    offers.words.push_back({std::string(cls->name), std::string(cls->description)});
  }
  if (!associations) {
    const cim::schema::Class* system = cim::schema::FindClass(cim::schema::kSystemClass);
    offers.words.push_back({std::string(system->name), std::string(system->description)});
  }
}

// Of the served classes, those that are wanted.
template <typename Wanted>
std::set<std::string> PropertyNames(Wanted wanted) {
  std::set<std::string> names;
  for (const cim::schema::Class* cls : ServedClasses()) {
    for (const cim::schema::Property* property : cim::schema::AllProperties(*cls)) {
      if (wanted(*property)) names.emplace(property->name);
    }
  }
  return names;
}

pci::Host Read(const pci::Source& source, bool drivers) {
  pci::Host::Wanted wanted;
  wanted.names = !drivers;
  wanted.details.driver = drivers;
  return pci::Host::Read(source, wanted);
}

void AddAddresses(Offers& offers, const pci::Source& source) {
  const pci::Host host = Read(source, false);
  for (const pci::Function& function : host.functions()) {
    offers.words.push_back({pci::FormatAddress(function.address),
                            host.VendorName(function) + ' ' + host.DeviceName(function)});
  }
}

std::set<std::string> Drivers(const pci::Source& source) {
  const pci::Host host = Read(source, true);
  std::set<std::string> drivers;
  for (const pci::Function& function : host.functions()) {
    const std::string& driver = host.DetailOf(function).driver;
    if (!driver.empty()) drivers.insert(driver);
  }
  return drivers;
}

std::set<std::string> Slots(const pci::Source& source) {
  const pci::Host host = Read(source, false);
  std::set<std::string> slots;
  for (const pci::Slot& slot : host.slots()) slots.insert(slot.name);
  return slots;
}

// What can be looked up without reading a host.
Offers KnownOffers(const ValuePlace& place) {
  Offers offers;
  offers.files = place.name == "FILE" || place.name == "OLD NEW";
  offers.folders = place.name == "DIR";
  if (place.name == "OLD NEW") {
    offers.words = {{"live", "This host as it is now"}};
  } else if (place.option == "--assoc-class") {
    AddClasses(offers, true);
  } else if (place.option == "--result-class") {
    AddClasses(offers, place.command.starts_with('r'));
  } else if (place.option == "--class") {
    offers.list = true;
    for (const char* word :
         {"audio", "bridge", "display", "ethernet", "gpu", "infiniband", "mass", "network", "nic",
          "nvme", "processing", "raid", "sata", "serial", "usb", "vga"}) {
      offers.words.push_back({word});
    }
  } else if (place.name == "CLASS" || place.name == "PATH") {
    AddClasses(offers, false);
    if (!place.command.starts_with('a') && !place.command.starts_with('r'))
      AddClasses(offers, true);
  } else if (place.name == "COLUMNS") {
    offers.list = true;
    offers.words.push_back({"json"});
    for (const FunctionColumn& column : AllColumns()) {
      offers.words.push_back({Lower(column.name), std::string(column.description)});
    }
  } else if (place.option == "--ignore") {
    offers.list = true;
    for (const std::string_view name : ComparedValues())
      offers.words.push_back({std::string(name)});
  } else if (place.option == "--driver") {
    offers.list = true;
    offers.words = {{"none", "Functions without a driver"}};
  } else if (place.name == "ROLE") {
    Add(offers, PropertyNames([](const auto& property) { return property.type == CMPI_ref; }));
  } else if (place.option == "--property") {
    offers.list = true;
    Add(offers, PropertyNames([](const auto&) { return true; }));
  }
  return offers;
}

void AddFromHost(const ValuePlace& place, const pci::Source& source, Offers& offers) {
  if (place.name == "PLACE" || place.name == "ADDRESS" || place.name == "PATH") {
    AddAddresses(offers, source);
  } else if (place.option == "--driver") {
    Add(offers, Drivers(source));
  } else if (place.option == "--slot") {
    Add(offers, Slots(source));
  }
}

}  // namespace

Offers OffersAt(const ValuePlace& place, const pci::Source& source) {
  Offers offers = KnownOffers(place);
  try {
    AddFromHost(place, source, offers);
  } catch (const std::exception&) {  // nobody could read it in the middle of a command line
  }
  return offers;
}

void WriteOffers(const Offers& offers, const std::string& current, std::ostream& out) {
  const std::size_t begin = offers.list ? current.rfind(',') + 1 : 0;
  const std::string before = current.substr(0, begin);
  const std::string prefix = current.substr(begin);
  for (const Offer& offer : offers.words) {
    if (!offer.word.starts_with(prefix)) continue;
    out << before << offer.word;
    if (!offer.meaning.empty()) out << '\t' << offer.meaning;
    out << '\n';
  }
  if (offers.files) out << ":files\n";
  if (offers.folders) out << ":folders\n";
}

}  // namespace tool
