<!-- The rest of the first stylesheet: the program puts the XML declaration,
     the opening xsl:stylesheet element, xsl:output and the variables
     "language", "out" and "cover.image" in front of this text. It turns a
     book (book.xml with its chapter files) into a DocBook 4 book of one
     language. -->

<xsl:key name="topic" match="topic" use="@id"/>
<xsl:key name="anchor" match="anchor" use="concat(ancestor::onelang[1]/@lang, ' ', @id)"/>
<xsl:key name="keywords" match="onelang/index" use="../@lang"/>

<xsl:template match="/">
  <xsl:apply-templates select="book"/>
</xsl:template>

<xsl:template match="book">
  <book lang="{$language}">
    <bookinfo>
      <title><xsl:value-of select="title[@lang = $language]"/></title>
      <xsl:variable name="cover.allowed">
        <xsl:call-template name="allowed.address">
          <xsl:with-param name="address" select="string($cover.image)"/>
        </xsl:call-template>
      </xsl:variable>
      <xsl:if test="normalize-space($cover.image) != '' and $cover.allowed = 'yes'">
        <!-- The cover stands on the title page: the subtitle is the one part
             of the book's info that every DocBook title page shows below the title. -->
        <subtitle>
          <inlinemediaobject>
            <imageobject>
              <imagedata fileref="{translate($cover.image, '\', '/')}"/>
            </imageobject>
          </inlinemediaobject>
        </subtitle>
      </xsl:if>
      <xsl:if test="normalize-space(author) != ''">
        <corpauthor><xsl:value-of select="author"/></corpauthor>
      </xsl:if>
      <xsl:if test="normalize-space(version) != ''">
        <releaseinfo><xsl:value-of select="version"/></releaseinfo>
      </xsl:if>
      <xsl:if test="normalize-space(concat(date, time)) != ''">
        <pubdate>
          <xsl:value-of select="date"/>
          <xsl:if test="normalize-space(date) != '' and normalize-space(time) != ''">
            <xsl:text> </xsl:text>
          </xsl:if>
          <xsl:value-of select="time"/>
        </pubdate>
      </xsl:if>
    </bookinfo>
    <xsl:apply-templates select="chapter"/>
    <xsl:if test="key('keywords', $language)[not(ancestor::*[@output and @output != $out])]">
      <!-- Named so that the HTML Help clean-up, which removes ch*.html, finds it. -->
      <index><xsl:processing-instruction name="dbhtml">filename="chindex.html"</xsl:processing-instruction></index>
    </xsl:if>
  </book>
</xsl:template>

<!-- A chapter or subchapter with no topic of this output is left out: it
     would be an empty page and an entry in the contents that leads there. -->
<xsl:template match="chapter">
  <xsl:if test=".//topic[not(ancestor-or-self::*[@output and @output != $out])]">
    <chapter>
      <title><xsl:value-of select="title[@lang = $language]"/></title>
      <xsl:apply-templates select="subchapter | topic[not(@output) or @output = $out]"/>
    </chapter>
  </xsl:if>
</xsl:template>

<xsl:template match="subchapter">
  <xsl:if test=".//topic[not(ancestor-or-self::*[@output and @output != $out])]">
    <section id="{@id}">
      <title><xsl:value-of select="title[@lang = $language]"/></title>
      <xsl:apply-templates select="subchapter | topic[not(@output) or @output = $out]"/>
    </section>
  </xsl:if>
</xsl:template>

<xsl:template match="topic">
  <xsl:variable name="body" select="onelang[@lang = $language]"/>
  <section id="{@id}">
    <title><xsl:value-of select="title[@lang = $language]"/></title>
    <xsl:if test="context and normalize-space(context/id) != ''">
      <!-- DocBook's HTML Help stylesheet makes alias.h, context.h and the
           map of htmlhelp.hhp from this instruction. -->
      <xsl:processing-instruction name="dbhh">
        <xsl:text>topicname="</xsl:text>
        <xsl:value-of select="normalize-space(context/name)"/>
        <xsl:text>" topicid="</xsl:text>
        <xsl:value-of select="normalize-space(context/id)"/>
        <xsl:text>"</xsl:text>
      </xsl:processing-instruction>
    </xsl:if>
    <xsl:apply-templates select="$body/index"/>
    <xsl:variable name="blocks" select="$body/*[not(self::index)][not(@output) or @output = $out]"/>
    <xsl:choose>
      <xsl:when test="$blocks">
        <xsl:apply-templates select="$blocks"/>
      </xsl:when>
      <xsl:otherwise><para/></xsl:otherwise>
    </xsl:choose>
  </section>
</xsl:template>

<xsl:template match="index">
  <indexterm>
    <primary><xsl:value-of select="primary"/></primary>
    <xsl:if test="normalize-space(secondary) != ''">
      <secondary><xsl:value-of select="secondary"/></secondary>
    </xsl:if>
  </indexterm>
</xsl:template>

<!-- Paragraphs; a title inside one is its header. -->
<xsl:template match="p">
  <xsl:choose>
    <xsl:when test="title">
      <formalpara>
        <title><xsl:apply-templates select="title[1]/node()"/></title>
        <para><xsl:apply-templates select="node()[not(self::title)]"/></para>
      </formalpara>
    </xsl:when>
    <xsl:otherwise>
      <para><xsl:apply-templates/></para>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

<xsl:template match="sign">
  <emphasis role="bold"><xsl:apply-templates/></emphasis>
</xsl:template>

<xsl:template match="anchor">
  <anchor id="{@id}"/>
</xsl:template>

<!-- "yes" when an address may be published: an http, https, mailto or ftp
     address, a relative path or an id. A hand-edited file may carry a
     javascript:, vbscript:, data: or file: address; it is read as a browser
     reads it, without blanks, tabs and line breaks and in any letter case. -->
<xsl:template name="allowed.address">
  <xsl:param name="address"/>
  <xsl:variable name="a"
                select="translate($address, concat('ABCDEFGHIJKLMNOPQRSTUVWXYZ', '&#9;&#10;&#13; '),
                                  'abcdefghijklmnopqrstuvwxyz')"/>
  <xsl:variable name="scheme" select="substring-before($a, ':')"/>
  <xsl:choose>
    <xsl:when test="not(contains($a, ':'))">yes</xsl:when>
    <xsl:when test="contains($scheme, '/') or contains($scheme, '?') or contains($scheme, '#')">yes</xsl:when>
    <xsl:when test="$scheme = 'http' or $scheme = 'https' or $scheme = 'mailto' or $scheme = 'ftp'">yes</xsl:when>
    <xsl:otherwise>no</xsl:otherwise>
  </xsl:choose>
</xsl:template>

<xsl:template match="link">
  <xsl:variable name="ref" select="string(@ref)"/>
  <xsl:variable name="allowed">
    <xsl:call-template name="allowed.address">
      <xsl:with-param name="address" select="$ref"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:variable name="topic" select="key('topic', $ref)"/>
  <xsl:variable name="anchor" select="key('anchor', concat($language, ' ', $ref))"/>
  <xsl:choose>
    <xsl:when test="$topic">
      <xsl:variable name="text" select="string($topic/title[@lang = $language])"/>
      <xsl:choose>
        <xsl:when test="$topic/ancestor-or-self::*[@output and @output != $out]">
          <xsl:value-of select="$text"/>
        </xsl:when>
        <xsl:otherwise>
          <link linkend="{$ref}"><xsl:value-of select="$text"/></link>
        </xsl:otherwise>
      </xsl:choose>
    </xsl:when>
    <xsl:when test="$anchor">
      <xsl:variable name="text" select="string($anchor/@name)"/>
      <xsl:choose>
        <xsl:when test="$anchor/ancestor-or-self::*[@output and @output != $out]">
          <xsl:value-of select="$text"/>
        </xsl:when>
        <xsl:otherwise>
          <link linkend="{$ref}"><xsl:value-of select="$text"/></link>
        </xsl:otherwise>
      </xsl:choose>
    </xsl:when>
    <xsl:when test="$allowed != 'yes'">
      <!-- No link: the label stays as text, the address is not published. -->
      <xsl:value-of select="@weblabel"/>
    </xsl:when>
    <xsl:when test="@weblabel or contains($ref, ':') or starts-with($ref, 'www.')">
      <ulink url="{$ref}">
        <xsl:choose>
          <xsl:when test="normalize-space(@weblabel) != ''"><xsl:value-of select="@weblabel"/></xsl:when>
          <xsl:otherwise><xsl:value-of select="$ref"/></xsl:otherwise>
        </xsl:choose>
      </ulink>
    </xsl:when>
    <xsl:otherwise>
      <xsl:value-of select="$ref"/>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

<xsl:template name="imageobject">
  <xsl:variable name="allowed">
    <xsl:call-template name="allowed.address">
      <xsl:with-param name="address" select="string(@file)"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:choose>
    <xsl:when test="$allowed = 'yes'">
      <imageobject>
        <imagedata fileref="{translate(@file, '\', '/')}">
          <xsl:if test="@scale and number(@scale) = number(@scale) and number(@scale) != 100">
            <xsl:attribute name="scale"><xsl:value-of select="@scale"/></xsl:attribute>
          </xsl:if>
        </imagedata>
      </imageobject>
      <!-- The caption is the picture's text; without one its file's name
           is better than none. -->
      <textobject>
        <phrase>
          <xsl:choose>
            <xsl:when test="normalize-space(.) != ''"><xsl:value-of select="normalize-space(.)"/></xsl:when>
            <xsl:otherwise>
              <xsl:call-template name="base.name">
                <xsl:with-param name="path" select="translate(@file, '\', '/')"/>
              </xsl:call-template>
            </xsl:otherwise>
          </xsl:choose>
        </phrase>
      </textobject>
    </xsl:when>
    <xsl:otherwise>
      <!-- An image from a script or data address is left out; its caption stays. -->
      <textobject><phrase><xsl:value-of select="normalize-space(.)"/></phrase></textobject>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

<!-- A file's name without its folders and its last extension. -->
<xsl:template name="base.name">
  <xsl:param name="path"/>
  <xsl:choose>
    <xsl:when test="contains($path, '/')">
      <xsl:call-template name="base.name">
        <xsl:with-param name="path" select="substring-after($path, '/')"/>
      </xsl:call-template>
    </xsl:when>
    <xsl:otherwise>
      <xsl:call-template name="without.extension">
        <xsl:with-param name="name" select="$path"/>
      </xsl:call-template>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

<xsl:template name="without.extension">
  <xsl:param name="name"/>
  <xsl:param name="done" select="''"/>
  <xsl:choose>
    <xsl:when test="contains($name, '.')">
      <xsl:call-template name="without.extension">
        <xsl:with-param name="name" select="substring-after($name, '.')"/>
        <xsl:with-param name="done">
          <xsl:value-of select="$done"/>
          <xsl:if test="$done != ''">.</xsl:if>
          <xsl:value-of select="substring-before($name, '.')"/>
        </xsl:with-param>
      </xsl:call-template>
    </xsl:when>
    <xsl:when test="$done != ''"><xsl:value-of select="$done"/></xsl:when>
    <xsl:otherwise><xsl:value-of select="$name"/></xsl:otherwise>
  </xsl:choose>
</xsl:template>

<xsl:template match="image">
  <xsl:choose>
    <xsl:when test="normalize-space(.) != ''">
      <figure>
        <title><xsl:apply-templates/></title>
        <mediaobject><xsl:call-template name="imageobject"/></mediaobject>
      </figure>
    </xsl:when>
    <xsl:otherwise>
      <informalfigure>
        <mediaobject><xsl:call-template name="imageobject"/></mediaobject>
      </informalfigure>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

<!-- Inside a table cell an image is inline. -->
<xsl:template match="cell/image">
  <inlinemediaobject><xsl:call-template name="imageobject"/></inlinemediaobject>
</xsl:template>

<xsl:template match="notice">
  <note>
    <xsl:if test="title">
      <title><xsl:apply-templates select="title[1]/node()"/></title>
    </xsl:if>
    <xsl:apply-templates select="p[not(@output) or @output = $out]"/>
    <xsl:if test="not(p[not(@output) or @output = $out])"><para/></xsl:if>
  </note>
</xsl:template>

<xsl:template match="list">
  <xsl:choose>
    <xsl:when test="@format = 'number'">
      <orderedlist><xsl:apply-templates select="item"/></orderedlist>
    </xsl:when>
    <xsl:otherwise>
      <itemizedlist><xsl:apply-templates select="item"/></itemizedlist>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

<xsl:template match="item">
  <listitem><para><xsl:apply-templates/></para></listitem>
</xsl:template>

<xsl:template match="table">
  <xsl:variable name="cols">
    <xsl:choose>
      <xsl:when test="number(@colnumber) &gt; 0"><xsl:value-of select="number(@colnumber)"/></xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="count((header | row)[1]/cell)"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:variable>
  <xsl:variable name="sep">
    <xsl:choose>
      <xsl:when test="@border = 'none'">0</xsl:when>
      <xsl:otherwise>1</xsl:otherwise>
    </xsl:choose>
  </xsl:variable>
  <xsl:variable name="frame">
    <xsl:choose>
      <xsl:when test="@border = 'none'">none</xsl:when>
      <xsl:otherwise>all</xsl:otherwise>
    </xsl:choose>
  </xsl:variable>
  <xsl:variable name="element">
    <xsl:choose>
      <xsl:when test="normalize-space(title) != ''">table</xsl:when>
      <xsl:otherwise>informaltable</xsl:otherwise>
    </xsl:choose>
  </xsl:variable>
  <xsl:element name="{$element}">
    <xsl:attribute name="frame"><xsl:value-of select="$frame"/></xsl:attribute>
    <xsl:attribute name="colsep"><xsl:value-of select="$sep"/></xsl:attribute>
    <xsl:attribute name="rowsep"><xsl:value-of select="$sep"/></xsl:attribute>
    <xsl:if test="$element = 'table'">
      <title><xsl:apply-templates select="title[1]/node()"/></title>
    </xsl:if>
    <tgroup cols="{$cols}">
      <xsl:for-each select="col">
        <colspec colname="c{position()}" colwidth="{@width}"/>
      </xsl:for-each>
      <xsl:if test="header">
        <thead><xsl:apply-templates select="header[1]"/></thead>
      </xsl:if>
      <tbody>
        <xsl:apply-templates select="row"/>
        <xsl:if test="not(row)">
          <row><entry/></row>
        </xsl:if>
      </tbody>
    </tgroup>
  </xsl:element>
</xsl:template>

<xsl:template match="header | row">
  <row><xsl:apply-templates select="cell"/></row>
</xsl:template>

<xsl:template match="cell">
  <entry>
    <xsl:if test="@align">
      <xsl:attribute name="align"><xsl:value-of select="@align"/></xsl:attribute>
    </xsl:if>
    <xsl:apply-templates/>
  </entry>
</xsl:template>

<xsl:template match="cell/p">
  <para><xsl:apply-templates/></para>
</xsl:template>

<xsl:template match="title"/>

</xsl:stylesheet>
