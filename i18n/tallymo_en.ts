<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>ExportController</name>
    <message numerus="yes">
        <location filename="../src/history/exportcontroller.cpp" line="+407"/>
        <source>%n records exported</source>
        <translation>
            <numerusform>%n record exported</numerusform>
            <numerusform>%n records exported</numerusform>
        </translation>
    </message>
</context>
</TS>
