#include "platform/uikit/UINib.h"

#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/process/Process.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UIImageView.h"
#include "platform/uikit/UILayoutGuide.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UIViewController.h"

#include <array>
#include <charconv>

namespace lumora {

namespace {

// Reading single values

std::optional<UIColor> colorFrom(const Value& value)
{
    constexpr double most = 255;
    const std::string& text = value.stringOrEmpty();
    unsigned number = 0;
    if ((text.size() != 7 && text.size() != 9) || text[0] != '#')
        return std::nullopt;
    const char* const end = text.data() + text.size();
    if (const auto [stop, error] = std::from_chars(text.data() + 1, end, number, 16);
        error != std::errc {} || stop != end)
        return std::nullopt;
    if (text.size() == 7)
        number = number << 8 | 0xff;
    auto component = [&](unsigned shift) { return ((number >> shift) & 0xff) / most; };
    return UIColor { component(24), component(16), component(8), component(0) };
}

std::optional<CGRect> rectFrom(const Value& value)
{
    const NSArray* numbers = value.array();
    if (!numbers || numbers->size() != 4)
        return std::nullopt;
    return CGRectMake((*numbers)[0].doubleValue(), (*numbers)[1].doubleValue(), (*numbers)[2].doubleValue(),
        (*numbers)[3].doubleValue());
}

template <typename T, size_t N>
std::optional<T> named(const std::array<std::pair<const char*, T>, N>& table, const Value& name)
{
    for (const auto& [text, meaning] : table) {
        if (name.stringOrEmpty() == text)
            return meaning;
    }
    return std::nullopt;
}

constexpr std::array attributes {
    std::pair { "left", NSLayoutAttribute::Left },
    std::pair { "right", NSLayoutAttribute::Right },
    std::pair { "top", NSLayoutAttribute::Top },
    std::pair { "bottom", NSLayoutAttribute::Bottom },
    std::pair { "leading", NSLayoutAttribute::Leading },
    std::pair { "trailing", NSLayoutAttribute::Trailing },
    std::pair { "width", NSLayoutAttribute::Width },
    std::pair { "height", NSLayoutAttribute::Height },
    std::pair { "centerX", NSLayoutAttribute::CenterX },
    std::pair { "centerY", NSLayoutAttribute::CenterY },
};
constexpr std::array contentModes {
    std::pair { "scaleToFill", UIViewContentMode::ScaleToFill },
    std::pair { "scaleAspectFit", UIViewContentMode::ScaleAspectFit },
    std::pair { "scaleAspectFill", UIViewContentMode::ScaleAspectFill },
    std::pair { "center", UIViewContentMode::Center },
};
constexpr std::array alignments {
    std::pair { "left", NSTextAlignment::Left },
    std::pair { "center", NSTextAlignment::Center },
    std::pair { "right", NSTextAlignment::Right },
};

/// Calls a setter with what could be read; false when nothing could.
template <typename T, typename Set> bool give(const std::optional<T>& value, const Set& set)
{
    if (value)
        set(*value);
    return value.has_value();
}

/// One interface file on its way to objects.
class NibLoader {
public:
    NibLoader(const NSBundle& bundle, const std::string& name, id owner)
        : m_bundle(bundle)
        , m_name(name)
        , m_owner(owner)
    {
    }

    std::vector<std::shared_ptr<Object>> load()
    {
        std::vector<std::shared_ptr<Object>> top;
        const auto path = m_bundle.pathForResource(m_name, "json");
        const auto data = path ? contentsOfFile(*path) : std::nullopt;
        if (!data)
            return complain("cannot be read"), top;
        const auto root = JSONObjectWithData(data->view());
        if (!root || (!root->isDictionary() && !root->isArray()))
            return complain("is no interface file"), top;
        const NSArray objects = root->isArray() ? *root->array() : NSArray { *root };
        for (const Value& object : objects) {
            auto made = makeObject(object);
            if (!made)
                return {};
            top.push_back(std::move(made));
        }
        connect();
        return top;
    }

private:
    void complain(const std::string& problem) const
    {
        Process::current().log("Interface file \"" + m_name + "\": " + problem);
    }

    std::shared_ptr<Object> makeObject(const Value& value)
    {
        const NSDictionary empty;
        const NSDictionary& record = value.dictionary() ? *value.dictionary() : empty;
        const std::string& className = record["class"].stringOrEmpty();
        const Class cls = className.empty() ? classOf<UIView>() : NSClassFromString(className);
        if (!cls || !value.isDictionary())
            return complain("there is no class \"" + className + "\""), nullptr;
        std::shared_ptr<Object> object;
        try {
            object = class_createInstance(cls);
            if (const auto view = as<UIView>(object))
                view->setFrame(rectFrom(record["frame"]).value_or(CGRectZero));
            const bool decodes = respondsToSelector(object.get(), sel::initWithCoder);
            object = retain(decodes ? send(object, sel::initWithCoder, nullptr) : send(object, sel::init));
        } catch (const NSException& exception) {
            complain(exception.what());
            return nullptr;
        }
        if (!object)
            return complain("\"" + className + "\" gives no object"), nullptr;
        m_made.push_back({ object, record });
        if (const std::string& name = record["id"].stringOrEmpty();
            !name.empty() && !m_named.emplace(name, object).second)
            complain("there are two objects \"" + name + "\"");
        const bool complete = fill(object, record);
        return complete ? object : nullptr;
    }

    bool fill(const std::shared_ptr<Object>& object, const NSDictionary& record)
    {
        for (const auto& [key, value] : record) {
            if (key == "subviews" || key == "view") {
                if (!fillViews(object,
                        key == "view"       ? NSArray { value }
                            : value.array() ? *value.array()
                                            : NSArray {}))
                    return false;
            } else if (!isHandledElsewhere(key) && !setProperty(*object, key, value))
                complain(
                    object_getClassName(object.get()) + " cannot have " + key + " " + value.description());
        }
        return true;
    }

    bool fillViews(const std::shared_ptr<Object>& object, const NSArray& records)
    {
        for (const Value& record : records) {
            const auto made = makeObject(record);
            const auto view = as<UIView>(made);
            if (!made)
                return false;
            if (!view)
                complain(made->description() + " is no view");
            if (const auto controller = as<UIViewController>(object))
                controller->setView(view);
            else if (const auto above = as<UIView>(object))
                above->addSubview(view);
        }
        return true;
    }

    static bool isHandledElsewhere(std::string_view key)
    {
        return key == "class" || key == "id" || key == "frame" || key == "constraints" || key == "outlets"
            || key == "actions";
    }

    bool setProperty(Object& object, const std::string& key, const Value& value)
    {
        if (key == "properties" && value.isDictionary()) {
            for (const auto& [name, content] : *value.dictionary())
                setKey(object, content, name);
            return true;
        }
        auto* const view = as<UIView>(&object);
        if (!view)
            return false;
        if (auto* const button = as<UIButton>(view);
            button && setTextProperty(button->titleLabel(), key, value))
            return true;
        if (auto* const label = as<UILabel>(view); label && setTextProperty(*label, key, value))
            return true;
        if (auto* const imageView = as<UIImageView>(view);
            imageView && setImageProperty(*imageView, key, value))
            return true;
        return setViewProperty(*view, key, value);
    }

    static bool setViewProperty(UIView& view, const std::string& key, const Value& value)
    {
        if (key == "background")
            return give(colorFrom(value), [&](const UIColor& color) { view.setBackgroundColor(color); });
        if (key == "borderColor")
            return give(colorFrom(value), [&](const UIColor& color) { view.layer().setBorderColor(color); });
        if (key == "contentMode")
            return give(
                named(contentModes, value), [&](UIViewContentMode mode) { view.setContentMode(mode); });
        if (!value.isNumber())
            return false;
        if (key == "cornerRadius")
            view.layer().setCornerRadius(value.doubleValue());
        else if (key == "borderWidth")
            view.layer().setBorderWidth(value.doubleValue());
        else if (key == "alpha")
            view.setAlpha(value.doubleValue());
        else if (key == "hidden")
            view.setHidden(value.boolValue());
        else if (key == "clips")
            view.setClipsToBounds(value.boolValue());
        else if (key == "userInteraction")
            view.setUserInteractionEnabled(value.boolValue());
        else if (key == "tag")
            view.setTag(value.integerValue());
        else
            return false;
        return true;
    }

    static bool setTextProperty(UILabel& label, const std::string& key, const Value& value)
    {
        if (key == "text" && value.isString())
            label.setText(value.stringOrEmpty());
        else if (key == "font" && value.isDictionary())
            label.setFont({ (*value.dictionary())["name"].stringOrEmpty(),
                (*value.dictionary())["size"].doubleValue() });
        else if (key == "textColor")
            return give(colorFrom(value), [&](const UIColor& color) { label.setTextColor(color); });
        else if (key == "alignment")
            return give(named(alignments, value),
                [&](NSTextAlignment alignment) { label.setTextAlignment(alignment); });
        else if (key == "lines" && value.isNumber())
            label.setNumberOfLines(saturatingInt32(value.integerValue()));
        else if (key == "fitsWidth" && value.isBoolean())
            label.setAdjustsFontSizeToFitWidth(value.boolValue());
        else
            return false;
        return true;
    }

    bool setImageProperty(UIImageView& imageView, const std::string& key, const Value& value) const
    {
        if (key == "tint")
            return give(colorFrom(value), [&](const UIColor& color) { imageView.setTintColor(color); });
        return key == "image" && give(imageNamed(value.stringOrEmpty()), [&](const UIImage& image) {
            imageView.setImage(image);
        });
    }

    std::optional<UIImage> imageNamed(const std::string& name) const
    {
        for (const auto& [suffix, scale] : { std::pair { "@2x", 2.0 }, std::pair { "", 1.0 } }) {
            const auto path = m_bundle.pathForResource(name + suffix, "png");
            if (const auto data = path ? contentsOfFile(*path) : std::nullopt)
                return UIImage::imageWithData(*data, scale);
        }
        return std::nullopt;
    }

    void setKey(Object& object, const Value& value, const std::string& key) const
    {
        try {
            object.setValueForKey(value, key);
        } catch (const NSException& exception) {
            complain(exception.what());
        }
    }

    // What refers to other objects waits until all are there.
    void connect()
    {
        for (const auto& [object, record] : m_made) {
            if (const NSArray* constraints = record["constraints"].array()) {
                for (const Value& constraint : *constraints)
                    addConstraint(
                        object, constraint.dictionary() ? *constraint.dictionary() : NSDictionary {});
            }
        }
        for (const auto& [object, record] : m_made) {
            if (const NSArray* actions = record["actions"].array()) {
                for (const Value& action : *actions)
                    addAction(object, action.dictionary() ? *action.dictionary() : NSDictionary {});
            }
            const NSDictionary* outlets = record["outlets"].dictionary();
            for (const auto& [key, name] : outlets ? *outlets : NSDictionary {}) {
                if (auto target = find(name.stringOrEmpty()))
                    setKey(*object, Value { std::move(target) }, key);
            }
        }
        for (const auto& made : m_made) {
            if (respondsToSelector(made.object.get(), sel::awakeFromNib))
                send(made.object, sel::awakeFromNib);
        }
    }

    std::shared_ptr<Object> find(const std::string& name) const
    {
        if (name == "owner")
            return retain(m_owner);
        auto object = m_named.find(name);
        if (object == m_named.end())
            return complain("there is no object \"" + name + "\""), nullptr;
        return object->second;
    }

    /// An item of a constraint, as seen from the view whose list it is in.
    std::shared_ptr<Object> findItem(const std::shared_ptr<UIView>& view, const std::string& name) const
    {
        if (name == "superview")
            return view;
        if (name == "safeArea")
            return retain(view->safeAreaLayoutGuide());
        return find(name);
    }

    void addConstraint(const std::shared_ptr<Object>& object, const NSDictionary& record)
    {
        const auto view = as<UIView>(object);
        const bool pins = record.find("pin");
        const auto item = view ? findItem(view, record[pins ? "pin" : "item"].stringOrEmpty()) : nullptr;
        if (!item)
            return complain("a constraint has no item");
        if (const auto placed = as<UIView>(item); placed && placed != view)
            placed->setTranslatesAutoresizingMaskIntoConstraints(false);
        const std::string& otherName = record["to"].stringOrEmpty();
        const auto other = otherName.empty() && !pins
            ? nullptr
            : findItem(view, otherName.empty() ? "superview" : otherName);
        if (!otherName.empty() && !other)
            return;
        return pins ? pin(*item, *other, record) : relate(*item, other.get(), record);
    }

    /// One constraint for each edge, centre or size that is given; edges count inwards.
    static void pin(Object& item, Object& other, const NSDictionary& record)
    {
        for (const auto& [key, value] : record) {
            const auto attribute = named(attributes, Value { key });
            if (!attribute)
                continue;
            const bool isSize
                = *attribute == NSLayoutAttribute::Width || *attribute == NSLayoutAttribute::Height;
            const bool isFar = key == "right" || key == "trailing" || key == "bottom";
            NSLayoutConstraint::constraintWithItem(&item, *attribute, isSize ? nullptr : &other,
                isSize ? NSLayoutAttribute::NotAnAttribute : *attribute, 1,
                isFar ? -value.doubleValue() : value.doubleValue())
                ->setActive(true);
        }
    }

    void relate(Object& item, Object* other, const NSDictionary& record)
    {
        const auto attribute = named(attributes, record["attribute"]);
        const auto otherAttribute
            = record.find("attribute2") ? named(attributes, record["attribute2"]) : attribute;
        if (!attribute || !otherAttribute)
            return complain("a constraint has an unknown attribute");
        auto constraint = NSLayoutConstraint::constraintWithItem(&item, *attribute, other, *otherAttribute,
            record.find("multiplier") ? record["multiplier"].doubleValue() : 1,
            record["constant"].doubleValue());
        if (record.find("priority"))
            constraint->setPriority(record["priority"].doubleValue());
        constraint->setActive(true);
        if (const std::string& name = record["id"].stringOrEmpty(); !name.empty())
            m_named.emplace(name, std::move(constraint));
    }

    void addAction(const std::shared_ptr<Object>& object, const NSDictionary& record) const
    {
        const auto item = as<UIView>(find(record["item"].stringOrEmpty()));
        const std::string& action = record["action"].stringOrEmpty();
        if (!item || action.empty())
            return complain("an action has no item or no name");
        if (const auto button = as<UIButton>(std::shared_ptr<Object>(item)))
            return button->addTarget(object, NSSelectorFromString(action));
        auto recognizer = make<UITapGestureRecognizer>();
        recognizer->addTarget(object, NSSelectorFromString(action));
        item->addGestureRecognizer(std::move(recognizer));
    }

    struct Made {
        std::shared_ptr<Object> object;
        NSDictionary record;
    };
    const NSBundle& m_bundle;
    const std::string& m_name;
    id m_owner;
    std::vector<Made> m_made;
    std::map<std::string, std::shared_ptr<Object>, std::less<>> m_named;
};

} // namespace

std::vector<std::shared_ptr<Object>> loadNibNamed(const NSBundle& bundle, const std::string& name, id owner)
{
    return NibLoader(bundle, name, owner).load();
}

} // namespace lumora
