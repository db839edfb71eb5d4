// Responses as tests look at them: the error, or the elements of the result.
//
// Thread rule: values.

#ifndef WBEM_ANSWERS_H_
#define WBEM_ANSWERS_H_

#include <map>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <vector>

class CimAnswer {
 public:
  // Fails the test where the text is no response to the method.
  CimAnswer(const std::string& xml, const std::string& method);

  // 0 where there is a result.
  int error() const;
  std::string description() const;

  // The elements of the result, which live as long as the answer.
  std::vector<pugi::xml_node> elements() const&;
  std::vector<pugi::xml_node> elements() && = delete;
  // Of each element the first attribute NAME or CLASSNAME that it or its descendants have.
  std::vector<std::string> classes() const;
  // Of each element the value of the key.
  std::vector<std::string> keys(const std::string& name) const;
  // The names of the properties of the n-th element.
  std::vector<std::string> properties(std::size_t n = 0) const;

 private:
  std::shared_ptr<pugi::xml_document> document_;
  pugi::xml_node response_;
};

#endif  // WBEM_ANSWERS_H_
