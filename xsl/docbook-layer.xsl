<?xml version="1.0"?>
<!-- Templates of DocBook XSL replaced for speed, imported after DocBook's
     own by every generated stylesheet. Each gives what the template it
     replaces gives, without walking the whole book for every node. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform" version="1.0">

<!-- The number of a chapter of the book: DocBook counts every chapter
     before it anywhere in the book (xsl:number level="any" from="book"),
     once for each label, contents entry and cross reference. Our chapters
     are children of the book, never of a part: their siblings are enough. -->
<xsl:template match="book/chapter[not(@label)]" mode="label.markup">
  <xsl:if test="string($chapter.autolabel) != 0">
    <xsl:variable name="format">
      <xsl:call-template name="autolabel.format">
        <xsl:with-param name="format" select="$chapter.autolabel"/>
      </xsl:call-template>
    </xsl:variable>
    <xsl:number count="chapter" format="{$format}"/>
  </xsl:if>
</xsl:template>

</xsl:stylesheet>
