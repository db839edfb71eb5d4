#include "wbem/answers.h"

#include <gtest/gtest.h>

CimAnswer::CimAnswer(const std::string& xml, const std::string& method)
    : document_(std::make_shared<pugi::xml_document>()) {
  const auto parsed = document_->load_string(xml.c_str());
  EXPECT_TRUE(parsed) << parsed.description() << " at " << parsed.offset << " of " << xml;
  const pugi::xml_node response = document_->child("CIM").child("MESSAGE").child("SIMPLERSP");
  response_ = response.first_child();
  EXPECT_EQ(response_.attribute("NAME").value(), method) << xml;
  EXPECT_TRUE(!response_.child("IRETURNVALUE").empty() != !response_.child("ERROR").empty()) << xml;
}

int CimAnswer::error() const { return response_.child("ERROR").attribute("CODE").as_int(); }

std::string CimAnswer::description() const {
  return response_.child("ERROR").attribute("DESCRIPTION").value();
}

std::vector<pugi::xml_node> CimAnswer::elements() const& {
  const auto children = response_.child("IRETURNVALUE").children();
  return {children.begin(), children.end()};
}

std::vector<std::string> CimAnswer::classes() const {
  std::vector<std::string> classes;
  for (const pugi::xml_node& element : elements()) {
    std::string name = element.attribute("NAME").value();
    if (name.empty()) name = element.attribute("CLASSNAME").value();
    if (name.empty()) {
      name = element.select_node(".//INSTANCENAME").node().attribute("CLASSNAME").value();
    }
    classes.push_back(name);
  }
  return classes;
}

std::vector<std::string> CimAnswer::keys(const std::string& name) const {
  std::vector<std::string> keys;
  const std::string query = ".//KEYBINDING[@NAME='" + name + "']/KEYVALUE";
  for (const pugi::xml_node& element : elements()) {
    keys.emplace_back(element.select_node(query.c_str()).node().child_value());
  }
  return keys;
}

std::vector<std::string> CimAnswer::properties(std::size_t n) const {
  std::vector<std::string> names;
  const char* const query =
      "descendant-or-self::*[self::PROPERTY or self::PROPERTY.ARRAY or self::PROPERTY.REFERENCE]";
  for (const auto& found : elements().at(n).select_nodes(query)) {
    names.emplace_back(found.node().attribute("NAME").value());
  }
  return names;
}
