#pragma once

#include <yajl/yajl_tree.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// A parsed JSON value. Asking for what is not there throws std::runtime_error.
class Json {
 public:
  explicit Json(const std::string& text) {
    char error[256] = "";
    root_.reset(yajl_tree_parse(text.c_str(), error, sizeof error), yajl_tree_free);
    value_ = root_.get();
    expect(value_ != nullptr, error);
  }

  std::vector<std::string> keys() const {
    expect(YAJL_IS_OBJECT(value_), "no object");
    return {value_->u.object.keys, value_->u.object.keys + value_->u.object.len};
  }

  Json operator[](const char* key) const {
    const char* path[] = {key, nullptr};
    return {root_, yajl_tree_get(value_, path, yajl_t_any)};
  }

  std::size_t size() const {
    expect(YAJL_IS_ARRAY(value_), "no array");
    return value_->u.array.len;
  }
  Json element(std::size_t index) const {
    expect(index < size(), "no such element");
    return {root_, value_->u.array.values[index]};
  }

  std::string text() const {
    expect(YAJL_IS_STRING(value_), "no string");
    return YAJL_GET_STRING(value_);
  }
  /// As it is written.
  std::string number() const {
    expect(YAJL_IS_NUMBER(value_), "no number");
    return YAJL_GET_NUMBER(value_);
  }
  bool boolean() const {
    expect(YAJL_IS_TRUE(value_) || YAJL_IS_FALSE(value_), "neither true nor false");
    return YAJL_IS_TRUE(value_);
  }
  bool is_null() const { return YAJL_IS_NULL(value_); }

 private:
  Json(std::shared_ptr<yajl_val_s> root, yajl_val value) : root_(std::move(root)), value_(value) {
    expect(value_ != nullptr, "no such key");
  }

  static void expect(bool holds, const char* complaint) {
    if (!holds) {
      throw std::runtime_error(std::string("JSON: ") + complaint);
    }
  }

  std::shared_ptr<yajl_val_s> root_;
  yajl_val value_ = nullptr;
};
