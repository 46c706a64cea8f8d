#pragma once
#include <QString>

// The declarations a saved topic is validated against, word for word, in one line.
extern const char* const kTopicDTD;

// "<?xml version="1.0"?><!DOCTYPE topic [" + declarations + "]>" + topic XML.
QString topicValidationText(const QString& topicXml);
