// The fields of messages by their descriptors: whether a sample sets every one of them, a message that does,
// and its leaves one by one.
//
// Thread-safety: belongs to its test.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace types_test {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

// Whether each field, at any depth, is set by one of the samples: a field with presence is there, another is
// not its default, a repeated one is not empty. Of several elements, one that sets a field is enough, and
// several samples are for the members of a oneof. `except` holds full names, such as
// "orv.remote.Range.start".
testing::AssertionResult setsEveryField(const std::vector<const Message*>& samples,
                                        const std::set<std::string>& except = {});
testing::AssertionResult setsEveryField(const Message& sample, const std::set<std::string>& except = {});

// A message of that type with every field set: two elements in each repeated field, one entry in each map,
// and numbers, texts and addresses that differ from their neighbours'. The last member of a oneof is the one
// set.
std::unique_ptr<Message> everyFieldOf(const Descriptor& type);

// A scalar, text or enumeration somewhere in a message.
class Leaf {
public:
   struct Step {
      const FieldDescriptor* field;
      // In a repeated field.
      int index;
   };

   // In the order of the fields.
   static std::vector<Leaf> of(const Message& message);

   // Of the field itself, such as "orv.remote.Range.start".
   [[nodiscard]] const std::string& field() const { return path_.back().field->full_name(); }
   // From the message on, such as "key.prefix.network".
   [[nodiscard]] std::string path() const;
   // Whether one of the fields on the way, itself among them, has that full name.
   [[nodiscard]] bool within(const std::string& fullName) const;
   // Copies of the message in which this leaf, and nothing else, has another value of its type. Several for
   // an enumeration, one for anything else.
   [[nodiscard]] std::vector<std::unique_ptr<Message>> changed(const Message& message) const;
   // As text.
   [[nodiscard]] std::string value(const Message& message) const;

private:
   explicit Leaf(std::vector<Step> path) : path_(std::move(path)) {}
   static void collect(const Message& message, std::vector<Step>& path, std::vector<Leaf>& leaves);

   std::vector<Step> path_;
};

}  // namespace types_test
