#pragma once

#include <string>

#include "Exceptions.h"

// Runs the action and returns "Class: message" of what it throws, with the exact class, or "nothing". A plain
// Exception has no readable message.
template <typename Action>
std::string thrown(Action action) {
  try {
    action();
    return "nothing";
  } catch (const ClassCastException& e) {
    return "ClassCastException: " + e.getMessage();
  } catch (const NoSuchElementException& e) {
    return "NoSuchElementException: " + e.getMessage();
  } catch (const NotSupportedException& e) {
    return "NotSupportedException: " + e.getMessage();
  } catch (const NumberFormatException& e) {
    return "NumberFormatException: " + e.getMessage();
  } catch (const ValueConversionException& e) {
    return "ValueConversionException: " + e.getMessage();
  } catch (const IndexOutOfBoundsException& e) {
    return "IndexOutOfBoundsException: " + e.getMessage();
  } catch (const ObjectStoreException& e) {
    return "ObjectStoreException: " + e.getMessage();
  } catch (const Exception&) {
    return "Exception";
  }
}
